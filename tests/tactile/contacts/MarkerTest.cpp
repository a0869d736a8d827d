#include <Tactile/Marker.hpp>

#include <doctest/doctest.h>

TEST_CASE("marker: its rotation is wrapped into one turn")
{
    Tactile::Marker marker(1, 7, {}, -0.5f);
    CHECK(marker.rotation() == doctest::Approx(5.783185307));
    marker.setRotation(7.f);
    CHECK(marker.rotation() == doctest::Approx(0.716814693));
    marker.setRotation(-1e-9f);
    CHECK(marker.rotation() == 0.f);
}

TEST_CASE("marker: made from a tracked object it is the same marker")
{
    const Tactile::Marker marker(5, 1001, {10.f, 20.f}, 1.5f);
    const Tactile::TrackedObject object = marker;
    const Tactile::Marker again(object);
    CHECK(again.isMarker());
    CHECK_FALSE(again.isFinger());
    CHECK(again.id() == 5);
    CHECK(again.code() == 1001);
    CHECK(again.centerLocation() == Vecta::Vector2f(10.f, 20.f));
    CHECK(again.rotation() == 1.5f);
}
