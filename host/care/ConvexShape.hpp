#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <vector>

namespace Host
{
/// A convex outline of table pixels.
class ConvexShape
{
public:
    /// The hull of the points.
    explicit ConvexShape(std::vector<Vecta::Vector2f> points);

    /// The places of a shape's origin with which the shape (its corners are relative to the origin) overlaps `obstacle`.
    [[nodiscard]] static ConvexShape placesOfOverlap(const std::vector<Vecta::Vector2f>& shape,
                                                     const std::vector<Vecta::Vector2f>& obstacle);

    /// The corners in their order around the shape.
    [[nodiscard]] const std::vector<Vecta::Vector2f>& corners() const noexcept { return m_corners; }
    /// Whether the point lies inside; a point on the edge, or as near to it as rounding may bring it, does not.
    [[nodiscard]] bool contains(Vecta::Vector2f point) const;

private:
    std::vector<Vecta::Vector2f> m_corners;
    Vecta::Rect m_bounds;
};
}
