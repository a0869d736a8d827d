#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Rect.hpp>

namespace Lantern
{
/// The radii of a box's corners in pixels, across and along: quarters of ellipses. Zero is a sharp corner.
struct Corners
{
    Vecta::Vector2f topLeft, topRight, bottomRight, bottomLeft;

    [[nodiscard]] static Corners all(float radius)
    {
        const Vecta::Vector2f both{radius, radius};
        return {both, both, both, both};
    }
    friend bool operator==(const Corners& a, const Corners& b)
    {
        return a.topLeft == b.topLeft && a.topRight == b.topRight && a.bottomRight == b.bottomRight
            && a.bottomLeft == b.bottomLeft;
    }
};

/// A rectangle with round corners. A plain value.
struct TAVOLA_EXPORT RoundBox
{
    Vecta::Rect rect;
    Corners corners;

    [[nodiscard]] bool isSharp() const { return corners == Corners(); }
    /// The same with corners that fit: where two of a side are longer than it, all are made smaller by one factor, and none is
    /// below zero.
    [[nodiscard]] RoundBox fitted() const;
    /// Larger by `px` on each side, smaller where it is negative (empty at the least). Round corners grow along.
    [[nodiscard]] RoundBox grown(float px) const;
    /// What is left inside of a border with sides that wide.
    [[nodiscard]] RoundBox inside(float top, float right, float bottom, float left) const;
    [[nodiscard]] float largestRadius() const;
};
}
