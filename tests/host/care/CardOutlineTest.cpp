#include "care/CardOutline.hpp"

#include <Tactile/Marker.hpp>

#include <doctest/doctest.h>

#include <algorithm>

TEST_CASE("card outline: a square of the card's size around its centre, turned with it")
{
    const auto outline = Host::cardOutline(Tactile::Marker(1, 1001, {500.f, 400.f}, 0.7853982f), 0.5f);
    float left = 1000.f;
    float right = 0.f;
    for (const auto& corner : outline) {
        CHECK((corner - Vecta::Vector2f(500.f, 400.f)).length() == doctest::Approx(Host::kCardSideMm * 1.41421f));
        left = std::min(left, corner.x);
        right = std::max(right, corner.x);
    }
    // On its corner it is as wide as its diagonal.
    CHECK(right - left == doctest::Approx(2.f * Host::kCardSideMm * 1.41421f));
}
