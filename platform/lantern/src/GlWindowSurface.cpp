#include "WindowSurface.hpp"

#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <QOpenGLPaintDevice>
#include <QPainter>
#include <QRegion>
#include <QWindow>

namespace Lantern
{
namespace
{
/// The table is painted into a multisampled buffer of its own that keeps what was drawn, and copied from there: a window's
/// own buffers come back in any order.
class GlWindowSurface final : public WindowSurface
{
public:
    explicit GlWindowSurface(QWindow& window) : m_window(window) {}

    ~GlWindowSurface() override
    {
        if (m_context.isValid() && m_context.makeCurrent(&m_window)) {
            m_buffer.reset();
            m_device.reset();
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

    void paint(const QRegion&, const std::function<void(QPainter&)>& draw) override
    {
        if (!m_context.makeCurrent(&m_window))
            return;
        const QSize pixels = m_window.size() * m_window.devicePixelRatio();
        if (!m_buffer || m_buffer->size() != pixels) {
            QOpenGLFramebufferObjectFormat format;
            format.setAttachment(QOpenGLFramebufferObject::CombinedDepthStencil);
            format.setSamples(4);
            m_buffer = std::make_unique<QOpenGLFramebufferObject>(pixels, format);
            m_device = std::make_unique<QOpenGLPaintDevice>(pixels);
            m_device->setDevicePixelRatio(m_window.devicePixelRatio());
        }
        m_buffer->bind();
        {
            QPainter painter(m_device.get());
            draw(painter);
        }
        m_buffer->release();
        QOpenGLFramebufferObject::blitFramebuffer(nullptr, m_buffer.get());
        m_context.swapBuffers(&m_window);
        m_context.doneCurrent();
    }

private:
    QWindow& m_window;
    QOpenGLContext m_context;
    std::unique_ptr<QOpenGLFramebufferObject> m_buffer;
    std::unique_ptr<QOpenGLPaintDevice> m_device;
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
