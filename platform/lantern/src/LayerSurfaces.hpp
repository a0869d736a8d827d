#pragma once

#include <QImage>
#include <QPainter>
#include <QRect>

#include <memory>
#include <vector>

namespace Lantern
{
/// What a layer is drawn into before it is faded as a whole. Has the pixels of the whole target, at their coordinates: a text
/// is rounded otherwise in a picture that begins elsewhere. Only the part that is used is ever touched.
struct LayerSurface
{
    QImage image;
    QPainter painter;
};

/// The surfaces of layers inside layers, kept from frame to frame. Main thread only.
class LayerSurfaces
{
public:
    [[nodiscard]] static LayerSurfaces& instance();

    /// A surface of at least that size, transparent inside `area`, with its painter clipped to `area`. Valid until `release`.
    [[nodiscard]] LayerSurface& acquire(QSize size, const QRect& area);
    /// The one that was acquired last.
    void release();

private:
    std::vector<std::unique_ptr<LayerSurface>> m_surfaces;
    std::size_t m_inUse = 0;
};
}
