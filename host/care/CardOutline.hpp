#pragma once

#include "care/PlaceSearch.hpp"

namespace Tactile
{
class Marker;
}

namespace Host
{
/// The longest side of a card.
constexpr float kCardSideMm = 76.f;

/// The square that a card covers on the table, turned with it, in table pixels.
[[nodiscard]] PlaceSearch::Outline cardOutline(const Tactile::Marker& card, float pixelPitchMm);
}
