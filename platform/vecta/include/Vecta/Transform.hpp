#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <array>
#include <optional>

namespace Vecta
{
/// An affine transform of the plane, the upper two rows of a 3×3 matrix:
///     x' = m11 x + m12 y + dx
///     y' = m21 x + m22 y + dy
struct TAVOLA_EXPORT Transform
{
    float m11 = 1.f, m12 = 0.f, dx = 0.f;
    float m21 = 0.f, m22 = 1.f, dy = 0.f;

    [[nodiscard]] static Transform translation(Vector2f by);
    /// About the origin, from the x axis towards the y axis (clockwise on a screen).
    [[nodiscard]] static Transform rotation(float angleRadians);
    [[nodiscard]] static Transform scaling(float factor);

    [[nodiscard]] Vector2f map(Vector2f p) const { return {m11 * p.x + m12 * p.y + dx, m21 * p.x + m22 * p.y + dy}; }
    /// Upright bounding box of the mapped rectangle.
    [[nodiscard]] Rect mapBounds(const Rect& rect) const;
    /// Corners of the mapped rectangle, clockwise from the top left one.
    [[nodiscard]] std::array<Vector2f, 4> mapCorners(const Rect& rect) const;
    /// The opposite transform, or nothing when this one flattens the plane.
    [[nodiscard]] std::optional<Transform> inverted() const;
    /// First `b`, then `a`.
    friend Transform operator*(const Transform& a, const Transform& b);
    friend bool operator==(const Transform& a, const Transform& b);
};

TAVOLA_EXPORT Transform operator*(const Transform& a, const Transform& b);
TAVOLA_EXPORT bool operator==(const Transform& a, const Transform& b);

/// Whether two convex quadrilaterals overlap (touching edges do not count), by the separating axis theorem.
[[nodiscard]] TAVOLA_EXPORT bool quadsIntersect(const std::array<Vector2f, 4>& a, const std::array<Vector2f, 4>& b);
}
