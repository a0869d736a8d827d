#include <Tactile/SurfaceArea.hpp>

#include <algorithm>

namespace Tactile
{
namespace
{
/// A contact at the rim is clamped to exactly 0 or 1, and an area at the rim is to contain it.
constexpr float kOnEdge = 1e-5f;

bool isOnEdge(Vecta::Vector2f point, Vecta::Vector2f from, Vecta::Vector2f to)
{
    const Vecta::Vector2f edge = to - from;
    const Vecta::Vector2f offset = point - from;
    const float length = edge.lengthSquared();
    const float along = length > 0.f ? std::clamp((offset.x * edge.x + offset.y * edge.y) / length, 0.f, 1.f) : 0.f;
    return (offset - edge * along).lengthSquared() <= kOnEdge * kOnEdge;
}
}

SurfaceArea SurfaceArea::ofRect(const Vecta::Rect& rect)
{
    const float right = rect.x + rect.width;
    const float bottom = rect.y + rect.height;
    return {{{rect.x, rect.y}, {right, rect.y}, {right, bottom}, {rect.x, bottom}}};
}

bool SurfaceArea::contains(Vecta::Vector2f point) const noexcept
{
    if (corners.size() < 3)
        return false;
    bool isInside = false;
    Vecta::Vector2f from = corners.back();
    for (const Vecta::Vector2f to : corners) {
        if (isOnEdge(point, from, to))
            return true;
        if ((from.y > point.y) != (to.y > point.y) && point.x < from.x + (to.x - from.x) * (point.y - from.y) / (to.y - from.y))
            isInside = !isInside;
        from = to;
    }
    return isInside;
}
}
