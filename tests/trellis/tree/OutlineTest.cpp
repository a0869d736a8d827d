#include "tree/Outline.hpp"

#include <Vecta/Transform.hpp>

#include <doctest/doctest.h>

#include <algorithm>
#include <random>

using Trellis::Outline;
using Vecta::Rect;
using Vecta::Transform;

namespace
{
Outline turnedBox(const Rect& box, float radians, Vecta::Vector2f place)
{
    return {(Transform::translation(place) * Transform::rotation(radians)).mapCorners(box)};
}
}

TEST_CASE("outline: has the area of its rectangle however it is turned, and the bounds of its corners")
{
    const Outline outline = turnedBox({0, 0, 40, 30}, 1.f, {100, 50});
    CHECK(outline.area() == doctest::Approx(1200.0).epsilon(1e-4));
    const Rect bounds = outline.bounds();
    const Rect expected = (Transform::translation({100, 50}) * Transform::rotation(1.f)).mapBounds({0, 0, 40, 30});
    CHECK(bounds.x == doctest::Approx(double(expected.x)));
    CHECK(bounds.y == doctest::Approx(double(expected.y)));
    CHECK(bounds.width == doctest::Approx(double(expected.width)));
    CHECK(bounds.height == doctest::Approx(double(expected.height)));
    CHECK(outline.moved({3, -2}).bounds().x == doctest::Approx(double(bounds.x + 3)));
    CHECK(outline.moved({3, -2}).bounds().y == doctest::Approx(double(bounds.y - 2)));
    CHECK(Outline().area() == 0.f);
}

TEST_CASE("outline: a mirrored one has the same area")
{
    CHECK(Outline{Transform::scaling(-2.f).mapCorners({0, 0, 4, 3})}.area() == doctest::Approx(48.0));
    Transform mirrored;
    mirrored.m11 = -1.f;
    CHECK(Outline{mirrored.mapCorners({0, 0, 4, 3})}.area() == doctest::Approx(12.0));
}

TEST_CASE("outline: between two heights it reaches exactly over what of it lies there")
{
    std::mt19937 random(3);
    const auto number = [&](float from, float to) { return from + (to - from) * float(random() % 10000u) / 10000.f; };
    constexpr int kSteps = 60;
    for (int i = 0; i < 200; ++i) {
        CAPTURE(i);
        const Rect box{number(-50, 50), number(-50, 50), number(5, 200), number(5, 200)};
        const Transform toScene =
            Transform::translation({number(-99, 99), number(-99, 99)}) * Transform::rotation(i % 10 == 0 ? 0.f : number(0, 7));
        const Outline outline{toScene.mapCorners(box)};
        const float top = number(-150, 150), bottom = top + number(1, 90);
        const Rect part = outline.boundsBetween(top, bottom);
        float left = 1e6f, right = -1e6f;
        for (int row = 0; row <= kSteps; ++row)
            for (int column = 0; column <= kSteps; ++column) {
                const Vecta::Vector2f point =
                    toScene.map({box.x + box.width * float(column) / kSteps, box.y + box.height * float(row) / kSteps});
                if (point.y < top || point.y > bottom)
                    continue;
                left = std::min(left, point.x);
                right = std::max(right, point.x);
                CHECK(point.x >= part.x - 0.01f);
                CHECK(point.x <= part.right() + 0.01f);
                CHECK(point.y >= part.y - 0.01f);
                CHECK(point.y <= part.bottom() + 0.01f);
            }
        if (left > right)
            continue;
        // No larger than what the points, which are up to 5 pixels apart, can show.
        CHECK(part.x >= left - 10.f);
        CHECK(part.right() <= right + 10.f);
        CHECK(part.y >= top);
        CHECK(part.bottom() <= bottom);
    }
}

TEST_CASE("outline: between heights that it does not reach there is nothing")
{
    const Outline outline = turnedBox({0, 0, 40, 30}, 0.5f, {100, 100});
    CHECK(outline.boundsBetween(0.f, 99.f).width < 0.f);
    CHECK(outline.boundsBetween(200.f, 300.f).width < 0.f);
    CHECK(outline.boundsBetween(0.f, 101.f).width > 0.f);
}
