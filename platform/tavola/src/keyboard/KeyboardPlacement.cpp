#include "keyboard/KeyboardPlacement.hpp"

#include <Vecta/Transform.hpp>

#include <limits>

namespace Tavola::KeyboardPlacement
{
namespace
{
using Vecta::Rect;
using Vecta::Vector2f;

constexpr float kTouchesPx = 0.5f;

Vector2f beside(const Request& s, Side side)
{
    const Vector2f middle = (s.anchor - s.keyboard) * 0.5f;
    switch (side) {
    case Side::Below: return {middle.x, s.anchor.y + s.gap};
    case Side::Above: return {middle.x, -s.gap - s.keyboard.y};
    case Side::Right: return {s.anchor.x + s.gap, middle.y};
    case Side::Left: break;
    }
    return {-s.gap - s.keyboard.x, middle.y};
}

/// How far `from` .. `from + extent` must move to lie within 0 .. `room`; into the middle when it is too long.
float inwards(float from, float extent, float room)
{
    if (extent > room)
        return (room - extent) / 2.f - from;
    if (from < 0.f)
        return -from;
    return from + extent > room ? room - extent - from : 0.f;
}
}

Place find(const Request& s, std::optional<Side> now)
{
    const auto turn = Vecta::Transform::rotation(s.angleRadians);
    Place best{Side::Below, {}};
    float leastCovered = std::numeric_limits<float>::max();
    const auto attempt = [&](Side side) {
        Vector2f corner = beside(s, side);
        const Rect there = turn.mapBounds({corner.x, corner.y, s.keyboard.x, s.keyboard.y});
        const Vector2f move{inwards(s.origin.x + there.x, there.width, s.table.x),
                            inwards(s.origin.y + there.y, there.height, s.table.y)};
        corner += move.rotated(-s.angleRadians);
        const Rect covered = s.field.intersected({corner.x, corner.y, s.keyboard.x, s.keyboard.y});
        const float area = covered.width * covered.height;
        if (area < leastCovered) {
            leastCovered = area;
            best = {side, s.origin + corner.rotated(s.angleRadians)};
        }
        return move.length();
    };
    if (attempt(Side::Below) < kTouchesPx && leastCovered <= 0.f)
        return best;
    if (now && *now != Side::Below) {
        // Keeps its side while the space is moved along the edge.
        const Place below = best;
        const float coveredBelow = leastCovered;
        leastCovered = std::numeric_limits<float>::max();
        static_cast<void>(attempt(*now));
        if (leastCovered <= 0.f)
            return best;
        if (coveredBelow <= leastCovered) {
            best = below;
            leastCovered = coveredBelow;
        }
    }
    for (const Side side : {Side::Above, Side::Right, Side::Left})
        if (leastCovered > 0.f)
            static_cast<void>(attempt(side));
    return best;
}
}
