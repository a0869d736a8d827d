#include <Tactile/SurfaceArea.hpp>

#include <doctest/doctest.h>

using Tactile::SurfaceArea;

TEST_CASE("surface area: a rectangle contains its edges and corners, and nothing beside them")
{
    const SurfaceArea area = SurfaceArea::ofRect({0.9f, 0.f, 0.1f, 0.2f});
    for (const Vecta::Vector2f inside : {Vecta::Vector2f{0.95f, 0.1f}, {0.9f, 0.1f}, {1.f, 0.f}, {1.f, 0.2f}, {0.9f, 0.f}}) {
        CAPTURE(inside.x);
        CAPTURE(inside.y);
        CHECK(area.contains(inside));
    }
    for (const Vecta::Vector2f outside : {Vecta::Vector2f{0.89f, 0.1f}, {0.95f, 0.21f}, {0.f, 0.f}, {0.5f, 0.1f}}) {
        CAPTURE(outside.x);
        CAPTURE(outside.y);
        CHECK_FALSE(area.contains(outside));
    }
}

TEST_CASE("surface area: a polygon may be hollow at a side, in whichever direction its corners go")
{
    const std::vector<Vecta::Vector2f> horseshoe = {{0.f, 0.f},   {0.6f, 0.f},  {0.6f, 0.6f}, {0.4f, 0.6f},
                                                    {0.4f, 0.2f}, {0.2f, 0.2f}, {0.2f, 0.6f}, {0.f, 0.6f}};
    const SurfaceArea clockwise{horseshoe};
    const SurfaceArea counterClockwise{{horseshoe.rbegin(), horseshoe.rend()}};
    for (const SurfaceArea& area : {clockwise, counterClockwise}) {
        CHECK(area.contains({0.1f, 0.5f}));
        CHECK(area.contains({0.5f, 0.5f}));
        CHECK(area.contains({0.3f, 0.1f}));
        CHECK_FALSE(area.contains({0.3f, 0.4f}));
        CHECK_FALSE(area.contains({0.3f, 0.7f}));
    }
}

TEST_CASE("surface area: fewer than three corners contain nothing")
{
    CHECK_FALSE(SurfaceArea{}.contains({0.f, 0.f}));
    CHECK_FALSE(SurfaceArea{{{0.f, 0.f}, {1.f, 1.f}}}.contains({0.5f, 0.5f}));
}
