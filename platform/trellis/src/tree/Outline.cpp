#include "tree/Outline.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace Trellis
{
using Vecta::Vector2f;

namespace
{
/// The upright rectangle around points that come one by one.
struct Around
{
    float left = std::numeric_limits<float>::max(), top = left;
    float right = std::numeric_limits<float>::lowest(), bottom = right;

    void add(Vector2f point)
    {
        left = std::min(left, point.x);
        right = std::max(right, point.x);
        top = std::min(top, point.y);
        bottom = std::max(bottom, point.y);
    }
    [[nodiscard]] Vecta::Rect rect() const
    {
        return right < left ? Vecta::Rect{0.f, 0.f, -1.f, -1.f} : Vecta::Rect{left, top, right - left, bottom - top};
    }
};
}

Outline Outline::moved(Vector2f by) const
{
    return {{corners[0] + by, corners[1] + by, corners[2] + by, corners[3] + by}};
}

float Outline::area() const
{
    const Vector2f across = corners[1] - corners[0], down = corners[3] - corners[0];
    return std::abs(across.x * down.y - across.y * down.x);
}

Vecta::Rect Outline::bounds() const
{
    Around around;
    for (const Vector2f& corner : corners)
        around.add(corner);
    return around.rect();
}

Vecta::Rect Outline::boundsBetween(float top, float bottom) const
{
    Around around;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        Vector2f upper = corners[i], lower = corners[(i + 1) % corners.size()];
        if (upper.y > lower.y)
            std::swap(upper, lower);
        if (lower.y < top || upper.y > bottom)
            continue;
        const float perRow = lower.y > upper.y ? (lower.x - upper.x) / (lower.y - upper.y) : 0.f;
        const auto at = [&](float y) { return Vector2f{upper.x + perRow * (y - upper.y), y}; };
        around.add(upper.y < top ? at(top) : upper);
        around.add(lower.y > bottom ? at(bottom) : lower);
    }
    return around.rect();
}
}
