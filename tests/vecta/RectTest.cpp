#include <Vecta/Rect.hpp>

#include <doctest/doctest.h>

using Vecta::Rect;

TEST_CASE("rectangle: left and top edges belong to it, right and bottom do not")
{
    const Rect rect{10.f, 20.f, 30.f, 40.f};
    CHECK(rect.contains({10.f, 20.f}));
    CHECK(rect.contains({39.9f, 59.9f}));
    CHECK_FALSE(rect.contains({40.f, 30.f}));
    CHECK_FALSE(rect.contains({20.f, 60.f}));
    CHECK_FALSE(rect.contains({9.9f, 30.f}));
    CHECK(rect.center() == Vecta::Vector2f(25.f, 40.f));
    CHECK(rect.right() == 40.f);
    CHECK(rect.bottom() == 60.f);
}

TEST_CASE("rectangle: neighbours that share an edge do not intersect")
{
    const Rect rect{0.f, 0.f, 10.f, 10.f};
    CHECK(rect.intersects({9.f, 9.f, 5.f, 5.f}));
    CHECK_FALSE(rect.intersects({10.f, 0.f, 5.f, 5.f}));
    CHECK_FALSE(rect.intersects({0.f, -5.f, 5.f, 5.f}));
}

TEST_CASE("rectangle: what fits into it has the largest size of its proportions, in the middle")
{
    const Rect box{10.f, 20.f, 100.f, 50.f};
    CHECK(box.fitting({200.f, 100.f}) == box);
    CHECK(box.fitting({1.f, 1.f}) == Rect{35.f, 20.f, 50.f, 50.f});
    CHECK(box.fitting({400.f, 100.f}) == Rect{10.f, 32.5f, 100.f, 25.f});
    CHECK(box.fitting({0.f, 100.f}) == box);
    CHECK(Rect{1.f, 2.f, 0.f, 0.f}.fitting({4.f, 3.f}).isEmpty());
}

TEST_CASE("rectangle: the union surrounds both, and an empty one counts as nothing")
{
    const Rect a{0.f, 0.f, 10.f, 10.f};
    CHECK(a.united({20.f, -5.f, 5.f, 5.f}) == Rect{0.f, -5.f, 25.f, 15.f});
    CHECK(a.united(Rect{100.f, 100.f, 0.f, 5.f}) == a);
    CHECK(Rect{}.united(a) == a);
    CHECK(Rect{}.isEmpty());
    CHECK(a != Rect{});
}

TEST_CASE("rectangle: the intersection is what belongs to both, and empty when they do not meet")
{
    const Rect a{0.f, 0.f, 10.f, 10.f};
    CHECK(a.intersected({5.f, -5.f, 10.f, 10.f}) == Rect{5.f, 0.f, 5.f, 5.f});
    CHECK(a.intersected({2.f, 3.f, 1.f, 1.f}) == Rect{2.f, 3.f, 1.f, 1.f});
    CHECK(a.intersected({20.f, 0.f, 5.f, 5.f}).isEmpty());
    CHECK(a.intersected({10.f, 0.f, 5.f, 5.f}).isEmpty());
}
