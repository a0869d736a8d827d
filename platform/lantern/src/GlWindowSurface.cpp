#include "DamageArea.hpp"
#include "GlSurfaces.hpp"
#include "WindowSurface.hpp"

#include <Lantern/PainterContext.hpp>

#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QPainter>
#include <QRegion>
#include <QWindow>

namespace Lantern
{
namespace
{
/// The table is painted on a surface of its own that keeps what was drawn. What changed of it is put together into a texture,
/// and that is copied whole to the window, whose own buffers come back in any order.
class GlWindowSurface final : public WindowSurface
{
public:
    explicit GlWindowSurface(QWindow& window) : m_window(window) {}

    ~GlWindowSurface() override
    {
        if (m_context.isValid() && m_context.makeCurrent(&m_window)) {
            m_shown.reset();
            m_ground.reset();
            m_surfaces.reset();
            m_context.doneCurrent();
        }
    }

    bool create()
    {
        m_context.setFormat(m_window.requestedFormat());
        if (!m_context.create() || !m_context.makeCurrent(&m_window))
            return false;
        const bool canCopy =
            QOpenGLFramebufferObject::hasOpenGLFramebufferObjects() && QOpenGLFramebufferObject::hasOpenGLFramebufferBlit();
        m_context.doneCurrent();
        return canCopy;
    }

    void paint(const QRegion& damage, const Draw& draw) override
    {
        if (!m_context.makeCurrent(&m_window))
            return;
        const qreal ratio = m_window.devicePixelRatio();
        const QSize pixels = m_window.size() * ratio;
        if (!m_ground || m_ground->pixels() != pixels) {
            m_ground = std::make_unique<GlSurface>(pixels, *m_surfaces);
            m_shown = std::make_unique<QOpenGLFramebufferObject>(pixels);
        }
        const QRegion area = oneRectWhereCheap(devicePixels(damage, ratio, pixels));
        {
            QPainter painter(m_ground.get());
            PainterContext context(painter, area);
            draw(context);
        }
        m_surfaces->endFrame();
        for (const QRect& rect : area)
            m_ground->resolve(rect, *m_shown, rect.topLeft());
        QOpenGLFramebufferObject::blitFramebuffer(nullptr, m_shown.get());
        m_context.swapBuffers(&m_window);
        m_context.doneCurrent();
    }

private:
    QWindow& m_window;
    QOpenGLContext m_context;
    std::unique_ptr<GlSurfaces> m_surfaces = std::make_unique<GlSurfaces>();
    std::unique_ptr<GlSurface> m_ground;               ///< painted on
    std::unique_ptr<QOpenGLFramebufferObject> m_shown; ///< its samples put together
};
}

std::unique_ptr<WindowSurface> makeGlSurface(QWindow& window)
{
    auto surface = std::make_unique<GlWindowSurface>(window);
    if (!surface->create())
        return nullptr;
    return surface;
}
}
