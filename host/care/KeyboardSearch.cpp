#include "care/KeyboardSearch.hpp"

#include <cmath>

namespace Host
{
namespace
{
using Side = KeyboardSearch::Side;
using Tavola::KeyboardRequest;
using Vecta::Rect;
using Vecta::Vector2f;

constexpr float kTouchesPx = 0.5f;

Vector2f cornerBeside(const KeyboardRequest& s, Side side)
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

/// A keyboard on one side, and how much it covers there, in square pixels.
struct KeyboardAttempt
{
    KeyboardAttempt(const KeyboardRequest& request, Side side, const std::vector<Rect>& neighbours)
    {
        const Vector2f beside = cornerBeside(request, side);
        const Vector2f corner = request.movedInwards(beside);
        const Rect keyboard{corner.x, corner.y, request.keyboard.x, request.keyboard.y};
        const auto covered = [&keyboard](const Rect& part) {
            const Rect both = part.intersected(keyboard);
            return both.width * both.height;
        };
        place = {side, request.onTable(corner)};
        movedPx = (corner - beside).length();
        fieldPx = covered(request.field);
        anchorPx = covered({0.f, 0.f, request.anchor.x, request.anchor.y});
        for (const Rect& neighbour : neighbours)
            neighboursPx += covered(neighbour);
    }

    [[nodiscard]] bool coversNothing() const { return fieldPx <= 0.f && anchorPx <= kTouchesPx && neighboursPx <= kTouchesPx; }
    [[nodiscard]] bool coversLessThan(const KeyboardAttempt& other) const
    {
        if (fieldPx != other.fieldPx)
            return fieldPx < other.fieldPx;
        if (std::abs(anchorPx - other.anchorPx) > kTouchesPx)
            return anchorPx < other.anchorPx;
        return neighboursPx < other.neighboursPx - kTouchesPx;
    }

    KeyboardSearch::Place place{};
    float movedPx = 0.f; ///< inwards
    float fieldPx = 0.f;
    float anchorPx = 0.f;
    float neighboursPx = 0.f;
};
}

KeyboardSearch::Place KeyboardSearch::find(const KeyboardRequest& request, std::optional<Side> now,
                                           const std::vector<Rect>& neighbours)
{
    KeyboardAttempt best(request, Side::Below, neighbours);
    if (best.movedPx < kTouchesPx && best.coversNothing())
        return best.place;
    // Keeps its side while the anchor is moved along the edge.
    std::vector<Side> sides{Side::Above, Side::Right, Side::Left};
    if (now && *now != Side::Below) {
        const KeyboardAttempt kept(request, *now, neighbours);
        if (kept.coversNothing())
            return kept.place;
        sides.insert(sides.begin(), *now);
    }
    for (const Side side : sides) {
        if (best.coversNothing())
            break;
        const KeyboardAttempt other(request, side, neighbours);
        if (other.coversLessThan(best))
            best = other;
    }
    return best.place;
}
}
