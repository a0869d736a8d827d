#include "GlKeptTexture.hpp"

#include "DamageArea.hpp"
#include "GlSurfaces.hpp"

#include <Lantern/PainterContext.hpp>

namespace Lantern
{
void GlKeptTexture::paint(QPoint corner, const QRegion& area, const std::function<void(RenderContext&)>& paint)
{
    const QRegion inTexture = oneRectWhereCheap(area.translated(-corner)).intersected(QRect(QPoint(), m_texture.size()));
    for (const QRect& rect : inTexture) {
        GlLayer& layer = m_surfaces.acquire(m_texture.size(), rect);
        {
            PainterContext context(layer.painter, rect);
            context.pushTransform(Vecta::Transform::translation({float(-corner.x()), float(-corner.y())}));
            paint(context);
            context.pop();
        }
        layer.painter.end();
        layer.surface.resolve(rect, m_texture, rect.topLeft());
        m_surfaces.release();
    }
}
}
