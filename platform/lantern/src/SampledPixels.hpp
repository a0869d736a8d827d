#pragma once

#include "BoxEdges.hpp"
#include "PixelSampling.hpp"

#include <QImage>
#include <QRectF>
#include <QTransform>

namespace Lantern
{
/// A picture that is scaled or turned, sampled bilinearly, with antialiased edges. The place of each pixel in the picture is
/// computed from the pixel's own coordinates, so that it does not matter which part is drawn.
class SampledPixels final : public PixelSource
{
public:
    /// `toDevice`: from the coordinates of `target`, into which the part `source` (pixels of the image) is drawn. `device`: all
    /// pixels that there are; `area`: those wanted. `opacity` 0..255. Nothing is drawn when `canDraw` is false.
    SampledPixels(const QRect& device, const QRect& area, const QImage& image, const QTransform& toDevice, const QRectF& target,
                  const QRectF& source, unsigned opacity);
    /// Whether the arithmetic suffices: for pictures of up to 16,384 pixels a side of which no 8,192 come to one pixel.
    [[nodiscard]] bool canDraw() const noexcept { return m_canDraw; }

    [[nodiscard]] PixelSpan span(int y) const override { return m_edges.span(m_area, y); }
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;
    /// As above, each pixel as if the picture covered all of it.
    void drawWhole(QRgb* row, int y, int begin, int end) const;

private:
    void drawRun(QRgb* row, int y, const PixelSpan& run, const EdgeRow& edges) const;

    /// A coordinate in the picture, 16 bits behind the point, of the pixel at the anchor, and its change
    /// from pixel to pixel.
    struct Coordinate
    {
        qint64 atAnchor, perX, perY;
        [[nodiscard]] qint64 at(int x, int y) const { return atAnchor + perX * x + perY * y; }
    };

    /// Returns where the corner of the pixels that are read lies in the image.
    [[nodiscard]] QPoint setSource(QRect part);
    void setCoordinates(const QTransform& toTarget, const QRectF& target, const QRectF& source);

    QImage m_image;
    SourcePixels m_source;
    unsigned m_opacity;
    bool m_canDraw = false;
    std::ptrdiff_t m_ahead = 0; ///< see SourcePlace
    QPoint m_anchor;
    BoxEdges m_edges;
    Coordinate m_x{}, m_y{};
};
}
