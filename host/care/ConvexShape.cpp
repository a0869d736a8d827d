#include "care/ConvexShape.hpp"

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
using Vecta::Vector2f;

/// Table pixels; well above the rounding of coordinates of a table, well below what shows.
constexpr float kEdgePx = 0.05f;

/// One chain of the hull of points in ascending order, without its last corner.
template <class Iterator>
void appendChain(Iterator first, Iterator last, std::vector<Vector2f>& hull)
{
    const std::size_t begin = hull.size();
    for (; first != last; ++first) {
        while (hull.size() >= begin + 2 && cross(hull.back() - hull[hull.size() - 2], *first - hull.back()) <= 0.f)
            hull.pop_back();
        hull.push_back(*first);
    }
    hull.pop_back();
}
}

ConvexShape::ConvexShape(std::vector<Vector2f> points)
{
    std::sort(points.begin(), points.end(), [](Vector2f a, Vector2f b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
    if (points.size() < 3)
        return;
    appendChain(points.begin(), points.end(), m_corners);
    appendChain(points.rbegin(), points.rend(), m_corners);
    const auto [top, bottom] =
        std::minmax_element(points.begin(), points.end(), [](Vector2f a, Vector2f b) { return a.y < b.y; });
    m_bounds = {points.front().x, top->y, points.back().x - points.front().x, bottom->y - top->y};
}

ConvexShape ConvexShape::placesOfOverlap(const std::vector<Vector2f>& shape, const std::vector<Vector2f>& obstacle)
{
    std::vector<Vector2f> differences;
    differences.reserve(shape.size() * obstacle.size());
    for (const Vector2f& of : obstacle)
        for (const Vector2f& own : shape)
            differences.push_back(of - own);
    return ConvexShape(std::move(differences));
}

bool ConvexShape::contains(Vector2f point) const
{
    if (m_corners.size() < 3 || !m_bounds.contains(point))
        return false;
    for (std::size_t i = 0; i < m_corners.size(); ++i) {
        const Vector2f edge = m_corners[(i + 1) % m_corners.size()] - m_corners[i];
        if (cross(edge, point - m_corners[i]) <= kEdgePx * edge.length())
            return false;
    }
    return true;
}
}
