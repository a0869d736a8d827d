#include "tree/GradientSpec.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Trellis
{
namespace
{
using Lantern::Gradient;

std::optional<float> placeAlong(const std::optional<Length>& place, float lengthPx)
{
    if (!place)
        return std::nullopt;
    if (place->unit == Length::Unit::Percent)
        return place->value / 100.f; // also of a line without length
    return lengthPx > 0.f ? place->resolve(lengthPx) / lengthPx : 0.f;
}

/// Of a hint between two stops, as CSS Images has it.
float exponentOf(float hint, float before, float after)
{
    if (after <= before)
        return 1.f;
    const float share = std::clamp((hint - before) / (after - before), 0.f, 1.f);
    if (share <= 0.f)
        return 0.f;
    return share >= 1.f ? std::numeric_limits<float>::infinity() : std::log(0.5f) / std::log(share);
}

Vecta::Vector2f ellipseThrough(Vecta::Vector2f corner, Vecta::Vector2f sides)
{
    // As wide in proportion to its height as the one that reaches the sides.
    if (sides.x <= 0.f || sides.y <= 0.f)
        return sides;
    const float proportion = sides.x / sides.y;
    const float across = std::hypot(corner.x, corner.y * proportion);
    return {across, across / proportion};
}
}

Lantern::Gradient GradientSpec::in(Vecta::Vector2f size) const
{
    Gradient result;
    result.kind = kind;
    if (kind == Gradient::Kind::Radial) {
        result.from = {centreX.resolve(size.x), centreY.resolve(size.y)};
        result.to = radiiIn(size, result.from);
        result.stops = stopsAlong(result.to.x);
        return result;
    }
    Vecta::Vector2f direction{std::sin(radians), -std::cos(radians)};
    if (toX != 0 || toY != 0) {
        // The line through the other two corners has the colour of the middle.
        direction = toX != 0 && toY != 0 ? Vecta::Vector2f{float(toX) * size.y, float(toY) * size.x}
                                         : Vecta::Vector2f{float(toX), float(toY)};
        const float length = std::hypot(direction.x, direction.y);
        if (length > 0.f)
            direction = direction * (1.f / length);
    }
    const float length = std::abs(size.x * direction.x) + std::abs(size.y * direction.y);
    const Vecta::Vector2f middle = size * 0.5f;
    result.from = middle - direction * (length / 2.f);
    result.to = middle + direction * (length / 2.f);
    result.stops = stopsAlong(length);
    return result;
}

Vecta::Vector2f GradientSpec::radiiIn(Vecta::Vector2f size, Vecta::Vector2f centre) const
{
    if (radiusX) {
        const float across = std::max(0.f, radiusX->resolve(size.x));
        return {across, isCircle ? across : std::max(0.f, radiusY->resolve(size.y))};
    }
    const float left = std::abs(centre.x), right = std::abs(size.x - centre.x);
    const float top = std::abs(centre.y), bottom = std::abs(size.y - centre.y);
    const bool isFar = extent == Extent::FarthestSide || extent == Extent::FarthestCorner;
    const bool isToCorner = extent == Extent::ClosestCorner || extent == Extent::FarthestCorner;
    const Vecta::Vector2f sides = isFar ? Vecta::Vector2f{std::max(left, right), std::max(top, bottom)}
                                        : Vecta::Vector2f{std::min(left, right), std::min(top, bottom)};
    if (isCircle) {
        const float radius = isToCorner ? std::hypot(sides.x, sides.y)
            : isFar                     ? std::max(sides.x, sides.y)
                                        : std::min(sides.x, sides.y);
        return {radius, radius};
    }
    return isToCorner ? ellipseThrough(sides, sides) : sides;
}

std::vector<Gradient::Stop> GradientSpec::stopsAlong(float lengthPx) const
{
    const int count = int(stops.size());
    std::vector<std::optional<float>> places, hints;
    for (const Stop& stop : stops) {
        places.push_back(placeAlong(stop.place, lengthPx));
        hints.push_back(placeAlong(stop.hint, lengthPx));
    }
    if (!places.front())
        places.front() = 0.f;
    if (!places.back())
        places.back() = 1.f;
    float furthest = *places.front();
    for (std::size_t i = 0; i < places.size(); ++i)
        for (auto* const place : {&hints[i], &places[i]})
            if (*place)
                *place = furthest = std::max(furthest, **place);
    // What has no place stands evenly between its neighbours.
    for (int i = 1; i < count; ++i) {
        if (places[std::size_t(i)])
            continue;
        int next = i;
        while (!places[std::size_t(next)])
            ++next;
        const float before = *places[std::size_t(i) - 1], after = *places[std::size_t(next)];
        for (int between = i; between < next; ++between)
            places[std::size_t(between)] = before + (after - before) * float(between - i + 1) / float(next - i + 1);
    }
    std::vector<Gradient::Stop> result;
    for (std::size_t i = 0; i < places.size(); ++i)
        result.push_back({*places[i], stops[i].color, hints[i] ? exponentOf(*hints[i], *places[i - 1], *places[i]) : 1.f});
    return result;
}
}
