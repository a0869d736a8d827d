#include <Lantern/RoundBox.hpp>

#include <doctest/doctest.h>

#include <limits>

using namespace Lantern;

namespace
{
RoundBox box(float width, float height, float radius)
{
    return {{10.f, 20.f, width, height}, Corners::all(radius)};
}
}

TEST_CASE("round box: corners that do not fit become smaller by one factor")
{
    RoundBox wide = box(100.f, 40.f, 0.f);
    wide.corners.topLeft = {30.f, 30.f};
    wide.corners.bottomLeft = {50.f, 50.f};
    wide.corners.topRight = {-3.f, 5.f};
    const RoundBox fitted = wide.fitted();
    CHECK(fitted.corners.topLeft == Vecta::Vector2f{15.f, 15.f});
    CHECK(fitted.corners.bottomLeft == Vecta::Vector2f{25.f, 25.f});
    CHECK(fitted.corners.topRight == Vecta::Vector2f{0.f, 0.f});
    CHECK(box(100.f, 40.f, 20.f).fitted().corners == Corners::all(20.f));
    CHECK(box(100.f, 40.f, 999.f).fitted().largestRadius() == doctest::Approx(20.0));
    CHECK(box(40.f, 100.f, 999.f).fitted().largestRadius() == doctest::Approx(20.0));
}

TEST_CASE("round box: a radius without end is as round as the box allows")
{
    const float endless = std::numeric_limits<float>::infinity();
    CHECK(box(100.f, 40.f, endless).fitted().corners == Corners::all(20.f));
    CHECK(box(100.f, 40.f, 1e30f).fitted().corners == Corners::all(20.f));
}

TEST_CASE("round box: two corners that do not fit on one side make all of them smaller, whichever side it is")
{
    const Vecta::Vector2f large{30.f, 30.f}, small{4.f, 4.f};
    const auto fitted = [&](bool isWide, Corners corners) {
        return RoundBox{{0.f, 0.f, isWide ? 200.f : 40.f, isWide ? 40.f : 200.f}, corners}.fitted().corners;
    };
    // topLeft, topRight, bottomRight, bottomLeft; sixty on a side of forty
    for (const Corners& corners : {Corners{large, small, small, large}, Corners{small, large, large, small}}) { // left, right
        CHECK(fitted(true, corners).topLeft.x == doctest::Approx(double(corners.topLeft.x) * 2.0 / 3.0));
        CHECK(fitted(true, corners).topRight.y == doctest::Approx(double(corners.topRight.y) * 2.0 / 3.0));
        CHECK(fitted(false, corners) == corners);
    }
    for (const Corners& corners : {Corners{large, large, small, small}, Corners{small, small, large, large}}) { // top, bottom
        CHECK(fitted(false, corners).topLeft.y == doctest::Approx(double(corners.topLeft.y) * 2.0 / 3.0));
        CHECK(fitted(false, corners).bottomRight.x == doctest::Approx(double(corners.bottomRight.x) * 2.0 / 3.0));
        CHECK(fitted(true, corners) == corners);
    }
}

TEST_CASE("round box: round corners grow with the box, and sharp ones stay sharp")
{
    CHECK(box(100.f, 40.f, 0.f).grown(5.f).isSharp());
    CHECK(box(100.f, 40.f, 0.f).grown(5.f).rect == Vecta::Rect{5.f, 15.f, 110.f, 50.f});
    CHECK(box(100.f, 40.f, 8.f).grown(5.f).corners == Corners::all(13.f));
    CHECK(box(100.f, 40.f, 8.f).grown(-5.f).corners == Corners::all(3.f));
    CHECK(box(100.f, 40.f, 8.f).grown(-9.f).isSharp());
    CHECK(box(100.f, 40.f, 5.f).grown(10.f).largestRadius() == doctest::Approx(13.75));
    CHECK(box(100.f, 40.f, 8.f).grown(-30.f).rect == Vecta::Rect{40.f, 40.f, 40.f, 0.f});
}

TEST_CASE("round box: inside of a border the corners are rounder where it is thinner")
{
    const RoundBox inner = box(100.f, 40.f, 12.f).inside(2.f, 12.f, 4.f, 6.f);
    CHECK(inner.rect == Vecta::Rect{16.f, 22.f, 82.f, 34.f});
    CHECK(inner.corners.topLeft == Vecta::Vector2f{6.f, 10.f});
    CHECK(inner.corners.topRight == Vecta::Vector2f{0.f, 0.f});
    CHECK(inner.corners.bottomLeft == Vecta::Vector2f{6.f, 8.f});
    CHECK(box(10.f, 4.f, 2.f).inside(20.f, 20.f, 20.f, 20.f).rect.isEmpty());
    RoundBox wide = box(40.f, 40.f, 0.f);
    wide.corners.topLeft = {40.f, 40.f};
    CHECK(wide.inside(0.f, 20.f, 0.f, 20.f).isSharp());
}
