#include "keyboard/KeyboardPlacement.hpp"

#include <Vecta/Transform.hpp>

#include <cmath>

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

Place find(const Request& s, std::optional<Side> now, const std::vector<Rect>& neighbours)
{
    struct Attempt
    {
        Place place;
        float movedPx;
        float fieldPx; ///< what is covered of the field, in square pixels
        float anchorPx;
        float neighboursPx;
    };
    const auto turn = Vecta::Transform::rotation(s.angleRadians);
    const auto attempt = [&](Side side) {
        Vector2f corner = beside(s, side);
        const Rect there = turn.mapBounds({corner.x, corner.y, s.keyboard.x, s.keyboard.y});
        const Vector2f move{inwards(s.origin.x + there.x, there.width, s.table.x),
                            inwards(s.origin.y + there.y, there.height, s.table.y)};
        corner += move.rotated(-s.angleRadians);
        const auto covered = [&](const Rect& part) {
            const Rect both = part.intersected({corner.x, corner.y, s.keyboard.x, s.keyboard.y});
            return both.width * both.height;
        };
        float neighboursPx = 0.f;
        for (const Rect& neighbour : neighbours)
            neighboursPx += covered(neighbour);
        return Attempt{{side, s.origin + corner.rotated(s.angleRadians)},
                       move.length(),
                       covered(s.field),
                       covered({0.f, 0.f, s.anchor.x, s.anchor.y}),
                       neighboursPx};
    };
    const auto coversNothing = [](const Attempt& one) {
        return one.fieldPx <= 0.f && one.anchorPx <= kTouchesPx && one.neighboursPx <= kTouchesPx;
    };
    const auto coversLess = [](const Attempt& one, const Attempt& other) {
        if (one.fieldPx != other.fieldPx)
            return one.fieldPx < other.fieldPx;
        if (std::abs(one.anchorPx - other.anchorPx) > kTouchesPx)
            return one.anchorPx < other.anchorPx;
        return one.neighboursPx < other.neighboursPx - kTouchesPx;
    };
    Attempt best = attempt(Side::Below);
    if (best.movedPx < kTouchesPx && coversNothing(best))
        return best.place;
    // Keeps its side while the space is moved along the edge.
    std::vector<Side> sides{Side::Above, Side::Right, Side::Left};
    if (now && *now != Side::Below) {
        const Attempt kept = attempt(*now);
        if (coversNothing(kept))
            return kept.place;
        sides.insert(sides.begin(), *now);
    }
    for (const Side side : sides) {
        if (coversNothing(best))
            break;
        const Attempt other = attempt(side);
        if (coversLess(other, best))
            best = other;
    }
    return best.place;
}
}
