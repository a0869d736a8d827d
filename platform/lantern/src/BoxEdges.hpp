#pragma once

#include "PixelSource.hpp"

#include <array>

class QRectF;
class QTransform;

namespace Lantern
{
/// The edges of a box that may be turned, and the share of each pixel that it covers. A pixel's share is computed from its own
/// coordinates. Any thread.
class BoxEdges
{
public:
    BoxEdges() = default;
    /// `toBox`: from device pixels to the coordinates of `box`; invertible.
    BoxEdges(const QTransform& toBox, const QRectF& box);

    /// The columns that the box touches, and covers, in the row `y` of `area`.
    [[nodiscard]] PixelSpan span(const QRect& area, int y) const;

    /// One row. Pixels in it are covered by 0..255.
    class Row
    {
    public:
        Row(const BoxEdges& edges, int y);
        [[nodiscard]] unsigned coverage(int x) const;

    private:
        std::array<double, 4> m_perX;
        std::array<double, 4> m_atColumn0;
    };

private:
    /// The distance in pixels by which a pixel's centre lies inside of an edge: x * perX + y * perY + offset.
    struct Edge
    {
        double perX = 0.0, perY = 0.0, offset = 0.0;
        double columns = 0.0; ///< 1 / perX; 0 for a horizontal edge
    };
    std::array<Edge, 4> m_edges; ///< left, right, top, bottom
};
}
