#include "LayerSurfaces.hpp"

#include "PainterState.hpp"

#include <cassert>
#include <cstring>

namespace Lantern
{
LayerSurfaces& LayerSurfaces::instance()
{
    // Never destroyed: painters would outlive what Qt needs for them.
    static LayerSurfaces& surfaces = *new LayerSurfaces;
    return surfaces;
}

LayerSurface& LayerSurfaces::acquire(QSize size, const QRect& area)
{
    if (m_surfaces.size() == m_inUse)
        m_surfaces.push_back(std::make_unique<LayerSurface>());
    LayerSurface& surface = *m_surfaces[m_inUse++];
    surface.framesUnused = 0;
    if (surface.image.width() < size.width() || surface.image.height() < size.height()) {
        m_bytes -= std::size_t(surface.image.sizeInBytes());
        surface.image = QImage(size.expandedTo(surface.image.size()), QImage::Format_ARGB32_Premultiplied);
        m_bytes += std::size_t(surface.image.sizeInBytes());
    }
    for (int y = area.top(); y <= area.bottom(); ++y)
        std::memset(surface.image.scanLine(y) + std::ptrdiff_t(area.left()) * 4, 0, std::size_t(area.width()) * 4);
    surface.painter.begin(&surface.image);
    surface.painter.setRenderHints(kHints);
    surface.painter.setClipRect(area);
    return surface;
}

void LayerSurfaces::release()
{
    assert(m_inUse > 0 && "more released than acquired");
    m_surfaces[--m_inUse]->painter.end();
}

void LayerSurfaces::endFrame()
{
    assert(m_inUse == 0 && "a surface is still in use");
    for (const auto& surface : m_surfaces)
        ++surface->framesUnused;
    // The outermost is used whenever one inside it is.
    while (!m_surfaces.empty() && m_surfaces.back()->framesUnused > kFramesKept) {
        m_bytes -= std::size_t(m_surfaces.back()->image.sizeInBytes());
        m_surfaces.pop_back();
    }
}
}
