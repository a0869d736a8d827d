#include "Vecta/Transform.hpp"

#include <algorithm>
#include <cmath>

namespace Vecta
{
namespace
{
struct Range
{
    float low;
    float high;
};

using Quad = std::array<Vector2f, 4>;

Range project(const Quad& quad, Vector2f axis)
{
    Range range{dot(quad[0], axis), dot(quad[0], axis)};
    for (std::size_t i = 1; i < quad.size(); ++i) {
        const float p = dot(quad[i], axis);
        range.low = std::min(range.low, p);
        range.high = std::max(range.high, p);
    }
    return range;
}

bool overlapAlong(const Quad& a, const Quad& b, Vector2f axis)
{
    const Range ra = project(a, axis);
    const Range rb = project(b, axis);
    return ra.low < rb.high && rb.low < ra.high;
}

bool overlapAlongNormals(const Quad& edges, const Quad& a, const Quad& b)
{
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const Vector2f edge = edges[(i + 1) % edges.size()] - edges[i];
        // An edge without length separates nothing.
        if (edge == Vector2f())
            continue;
        if (!overlapAlong(a, b, {-edge.y, edge.x}))
            return false;
    }
    return true;
}
}

Transform Transform::translation(Vector2f by)
{
    return {1.f, 0.f, by.x, 0.f, 1.f, by.y};
}

Transform Transform::rotation(float angleRadians)
{
    const float c = std::cos(angleRadians);
    const float s = std::sin(angleRadians);
    return {c, -s, 0.f, s, c, 0.f};
}

Transform Transform::scaling(float factor)
{
    return {factor, 0.f, 0.f, 0.f, factor, 0.f};
}

Rect Transform::mapBounds(const Rect& rect) const
{
    const Quad corners = mapCorners(rect);
    const Range h = project(corners, {1.f, 0.f});
    const Range v = project(corners, {0.f, 1.f});
    return {h.low, v.low, h.high - h.low, v.high - v.low};
}

std::array<Vector2f, 4> Transform::mapCorners(const Rect& rect) const
{
    return {map({rect.x, rect.y}), map({rect.right(), rect.y}), map({rect.right(), rect.bottom()}), map({rect.x, rect.bottom()})};
}

std::optional<Transform> Transform::inverted() const
{
    // In double: a table's coordinates times small scales leave little of a float.
    const double determinant = double(m11) * m22 - double(m12) * m21;
    if (determinant == 0.0 || !std::isfinite(1.0 / determinant))
        return std::nullopt;
    const double f = 1.0 / determinant;
    Transform t;
    t.m11 = float(m22 * f);
    t.m12 = float(-m12 * f);
    t.m21 = float(-m21 * f);
    t.m22 = float(m11 * f);
    t.dx = float((double(m12) * dy - double(m22) * dx) * f);
    t.dy = float((double(m21) * dx - double(m11) * dy) * f);
    return t;
}

Transform operator*(const Transform& a, const Transform& b)
{
    return {a.m11 * b.m11 + a.m12 * b.m21, a.m11 * b.m12 + a.m12 * b.m22, a.m11 * b.dx + a.m12 * b.dy + a.dx,
            a.m21 * b.m11 + a.m22 * b.m21, a.m21 * b.m12 + a.m22 * b.m22, a.m21 * b.dx + a.m22 * b.dy + a.dy};
}

bool operator==(const Transform& a, const Transform& b)
{
    return a.m11 == b.m11 && a.m12 == b.m12 && a.dx == b.dx && a.m21 == b.m21 && a.m22 == b.m22 && a.dy == b.dy;
}

bool quadsIntersect(const std::array<Vector2f, 4>& a, const std::array<Vector2f, 4>& b)
{
    // The upright axes first: they reject most pairs cheaply, and settle quadrilaterals that have shrunk to a line or point.
    return overlapAlong(a, b, {1.f, 0.f}) && overlapAlong(a, b, {0.f, 1.f}) && overlapAlongNormals(a, a, b)
        && overlapAlongNormals(b, a, b);
}
}
