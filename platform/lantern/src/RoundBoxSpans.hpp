#pragma once

#include "BoxEdges.hpp"

#include <QRectF>

namespace Lantern
{
/// The columns of each row that a box with round corners touches, and those that it certainly covers. It may be moved, turned
/// and scaled. Any thread.
class RoundBoxSpans
{
public:
    RoundBoxSpans() = default;
    /// `toBox`: from device pixels to the coordinates of `box`; invertible. `edge`: width of what is partly covered, on either
    /// side of the straight edges. `corner`: from the edges to where corners have ended, at least `edge`.
    RoundBoxSpans(const QTransform& toBox, const QRectF& box, double edge, double corner);

    /// In the row `y` of `area`.
    [[nodiscard]] PixelSpan span(const QRect& area, int y) const;

private:
    BoxEdges m_outer;
    BoxEdges m_wide, m_tall; ///< without what is above and below corners, or beside them
    bool m_hasWide = false, m_hasTall = false;
};
}
