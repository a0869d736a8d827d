#include <Lantern/RoundBox.hpp>

#include <algorithm>

namespace Lantern
{
namespace
{
/// A corner that was sharp stays so; one that is rounder than it grows keeps its centre (CSS Backgrounds, shadow shape).
float grownRadius(float radius, float px)
{
    if (radius <= 0.f)
        return 0.f;
    if (px <= 0.f || radius >= px)
        return std::max(0.f, radius + px);
    const float rest = 1.f - radius / px;
    return radius + px * (1.f - rest * rest * rest);
}

Vecta::Vector2f grownCorner(Vecta::Vector2f corner, float px)
{
    return {grownRadius(corner.x, px), grownRadius(corner.y, px)};
}

/// Below zero where the border is wider: a sharp one, once it is fitted.
Vecta::Vector2f innerCorner(Vecta::Vector2f corner, float across, float along)
{
    return {corner.x - across, corner.y - along};
}

/// Beyond it sums of radii are no longer exact.
constexpr float kMostRadiusPx = 1e6f;

/// Both radii are above zero, or it is sharp.
Vecta::Vector2f valid(Vecta::Vector2f corner)
{
    return corner.x > 0.f && corner.y > 0.f
        ? Vecta::Vector2f{std::min(corner.x, kMostRadiusPx), std::min(corner.y, kMostRadiusPx)}
        : Vecta::Vector2f{};
}
}

RoundBox RoundBox::fitted() const
{
    RoundBox result = *this;
    Corners& c = result.corners;
    for (Vecta::Vector2f* corner : {&c.topLeft, &c.topRight, &c.bottomRight, &c.bottomLeft})
        *corner = valid(*corner);
    float factor = 1.f;
    const auto fit = [&factor](float sum, float side) {
        if (sum > side)
            factor = std::min(factor, side / sum);
    };
    fit(c.topLeft.x + c.topRight.x, rect.width);
    fit(c.bottomLeft.x + c.bottomRight.x, rect.width);
    fit(c.topLeft.y + c.bottomLeft.y, rect.height);
    fit(c.topRight.y + c.bottomRight.y, rect.height);
    for (Vecta::Vector2f* corner : {&c.topLeft, &c.topRight, &c.bottomRight, &c.bottomLeft})
        *corner = *corner * factor;
    return result;
}

RoundBox RoundBox::grown(float px) const
{
    const float across = std::max(px, -rect.width / 2.f);
    const float along = std::max(px, -rect.height / 2.f);
    RoundBox result{{rect.x - across, rect.y - along, rect.width + 2.f * across, rect.height + 2.f * along}, {}};
    result.corners = {grownCorner(corners.topLeft, px), grownCorner(corners.topRight, px), grownCorner(corners.bottomRight, px),
                      grownCorner(corners.bottomLeft, px)};
    return result.fitted();
}

RoundBox RoundBox::inside(float top, float right, float bottom, float left) const
{
    const Vecta::Rect inner{rect.x + left, rect.y + top, std::max(0.f, rect.width - left - right),
                            std::max(0.f, rect.height - top - bottom)};
    // One that is wider than the box leaves nothing, and no corners.
    return RoundBox{inner,
                    {innerCorner(corners.topLeft, left, top), innerCorner(corners.topRight, right, top),
                     innerCorner(corners.bottomRight, right, bottom), innerCorner(corners.bottomLeft, left, bottom)}}
        .fitted();
}

float RoundBox::largestRadius() const
{
    return std::max({corners.topLeft.x, corners.topLeft.y, corners.topRight.x, corners.topRight.y, corners.bottomRight.x,
                     corners.bottomRight.y, corners.bottomLeft.x, corners.bottomLeft.y});
}
}
