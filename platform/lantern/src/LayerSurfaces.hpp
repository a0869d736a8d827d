#pragma once

#include <QImage>
#include <QPainter>
#include <QRect>

#include <cstddef>
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
    int framesUnused = 0;
};

/// The surfaces of layers inside layers, kept from frame to frame while they are used. Main thread only.
class LayerSurfaces
{
public:
    [[nodiscard]] static LayerSurfaces& instance();

    /// A surface of at least that size, transparent inside `area`, with its painter clipped to `area`. Valid until `release`.
    [[nodiscard]] LayerSurface& acquire(QSize size, const QRect& area);
    /// The one that was acquired last.
    void release();

    /// Frees what was not acquired in the last kFramesKept frames. To be called once a frame, while nothing is acquired.
    void endFrame();
    [[nodiscard]] std::size_t bytes() const noexcept { return m_bytes; }

    static constexpr int kFramesKept = 60;

private:
    std::vector<std::unique_ptr<LayerSurface>> m_surfaces;
    std::size_t m_inUse = 0;
    std::size_t m_bytes = 0;
};
}
