#pragma once

#include "PixelSource.hpp"

#include <array>

class QRectF;
class QTransform;

namespace Lantern
{
/// One row of the pixels at the edges of a box.
struct EdgeRow
{
    /// The share of a pixel that the box covers, 0..255.
    [[nodiscard]] unsigned coverage(int x) const;

    /// How much of a pixel is inside of each of four edges, two and two of which are parallel: x * perX + atColumn0, within 0..1.
    std::array<float, 4> perX, atColumn0;
};

/// The edges of a box that may be turned, and the share of each pixel that it covers. A pixel's share is computed from its own
/// coordinates. Any thread.
class BoxEdges
{
public:
    BoxEdges() = default;
    /// `toBox`: from device pixels to the coordinates of `box`; invertible.
    BoxEdges(const QTransform& toBox, const QRectF& box);

    /// The columns that the box touches, and covers, in the row `y` of `area`. What is covered in two rows is covered in all rows
    /// between them.
    [[nodiscard]] PixelSpan span(const QRect& area, int y) const;
    [[nodiscard]] EdgeRow row(int y) const;

private:
    /// Two parallel edges. From column to column a pixel gets further into the box at the first, and out of it at the second.
    struct Pair
    {
        Pair() = default;
        /// Of the edge on one side: the distance by which a pixel's centre lies inside is x * perX + y * perY + offset. The other
        /// edge is `thickness` pixels further.
        Pair(double perX, double perY, double offset, double thickness);

        bool isHorizontal = true;
        double perX = 0.0, perY = 0.0;
        std::array<double, 2>
            offset{};         ///< of the first edge, and of the second, where the signs of perX and perY are the opposite
        double columns = 0.0; ///< from where a pixel is touched to where it is covered: 1 / perX
        double perRow = 0.0;  ///< by which both edges move from row to row
        std::array<double, 2> touched{}; ///< in row 0: columns at which the first edge begins to cover, and the second ends
    };
    std::array<Pair, 2> m_pairs;
};
}
