#include "GlSurface.hpp"

namespace Lantern
{
namespace
{
QOpenGLFramebufferObjectFormat smoothFormat()
{
    QOpenGLFramebufferObjectFormat format;
    format.setAttachment(QOpenGLFramebufferObject::CombinedDepthStencil);
    format.setSamples(4);
    return format;
}

}

QRect fromBottom(const QRect& rect, int height)
{
    return {rect.x(), height - rect.y() - rect.height(), rect.width(), rect.height()};
}

GlSurface::GlSurface(QSize pixels, GlSurfaces& surfaces)
    : QOpenGLPaintDevice(pixels), m_buffer(pixels, smoothFormat()), m_surfaces(surfaces)
{
}

void GlSurface::ensureActiveTarget()
{
    m_buffer.bind();
}

void GlSurface::resolve(const QRect& area, QOpenGLFramebufferObject& target, QPoint corner) const
{
    QOpenGLFramebufferObject::blitFramebuffer(&target, fromBottom(QRect(corner, area.size()), target.height()), &m_buffer,
                                              fromBottom(area, m_buffer.height()));
}
}
