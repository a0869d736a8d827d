#include "care/CardOutline.hpp"

#include <Tactile/Marker.hpp>
#include <Vecta/Transform.hpp>

#include <algorithm>

namespace Host
{
PlaceSearch::Outline cardOutline(const Tactile::Marker& card, float pixelPitchMm)
{
    const float side = kCardSideMm / std::max(pixelPitchMm, 0.01f);
    return (Vecta::Transform::translation(card.centerLocation()) * Vecta::Transform::rotation(card.rotation()))
        .mapCorners({-side / 2.f, -side / 2.f, side, side});
}
}
