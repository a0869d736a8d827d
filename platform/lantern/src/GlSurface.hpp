#pragma once

#include <QOpenGLFramebufferObject>
#include <QOpenGLPaintDevice>
#include <QRect>

namespace Lantern
{
class GlSurfaces;

/// OpenGL counts rows from the bottom of a picture that is so high.
[[nodiscard]] QRect fromBottom(const QRect& rect, int height);

/// Pixels on the graphics card that a QPainter paints on, with four samples each where the card can, so that edges are smooth.
/// They are put together into a texture or a window by `resolve`. The context of `surfaces` must be current whenever it is used.
class GlSurface final : public QOpenGLPaintDevice
{
public:
    /// `surfaces` must outlive the surface.
    GlSurface(QSize pixels, GlSurfaces& surfaces);

    void ensureActiveTarget() override;
    /// Copies `area`, whose top left corner comes to `corner` of `target`. All from the top left corner, in pixels.
    void resolve(const QRect& area, QOpenGLFramebufferObject& target, QPoint corner) const;
    [[nodiscard]] QSize pixels() const { return m_buffer.size(); }
    [[nodiscard]] GlSurfaces& surfaces() const noexcept { return m_surfaces; }

private:
    // Qt's blit wants one that is not const.
    mutable QOpenGLFramebufferObject m_buffer;
    GlSurfaces& m_surfaces;
};
}
