#include <Vecta/Transform.hpp>

#include <doctest/doctest.h>

#include <random>

using Vecta::Rect;
using Vecta::Transform;
using Vecta::Vector2f;

namespace
{
constexpr float kQuarter = 1.57079632679f;

void checkNear(Vector2f a, Vector2f b, double epsilon = 1e-4)
{
    CHECK(a.x == doctest::Approx(b.x).epsilon(epsilon).scale(1.0));
    CHECK(a.y == doctest::Approx(b.y).epsilon(epsilon).scale(1.0));
}
}

TEST_CASE("transform: the default one leaves a point where it is")
{
    CHECK(Transform().map({3.f, 4.f}) == Vector2f(3.f, 4.f));
    CHECK(Transform::translation({1.f, 2.f}).map({3.f, 4.f}) == Vector2f(4.f, 6.f));
    CHECK(Transform::scaling(2.f).map({3.f, 4.f}) == Vector2f(6.f, 8.f));
    checkNear(Transform::rotation(kQuarter).map({1.f, 0.f}), {0.f, 1.f});
}

TEST_CASE("transform: a product applies its right side first")
{
    const Transform t = Transform::translation({10.f, 0.f}) * Transform::scaling(2.f);
    CHECK(t.map({1.f, 1.f}) == Vector2f(12.f, 2.f));
    CHECK_FALSE(t == Transform::scaling(2.f) * Transform::translation({10.f, 0.f}));
}

TEST_CASE("transform: the inverse undoes it")
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> coordinate(-2000.f, 2000.f);
    std::uniform_real_distribution<float> angle(-7.f, 7.f);
    std::uniform_real_distribution<float> scale(0.1f, 5.f);
    for (int i = 0; i < 100; ++i) {
        const Transform t = Transform::translation({coordinate(random), coordinate(random)}) * Transform::rotation(angle(random))
            * Transform::scaling(scale(random));
        const auto back = t.inverted();
        REQUIRE(back.has_value());
        const Vector2f p{coordinate(random), coordinate(random)};
        CHECK((back->map(t.map(p)) - p).length() < 0.05f);
    }
}

TEST_CASE("transform: one that flattens the plane has no inverse")
{
    CHECK_FALSE(Transform::scaling(0.f).inverted().has_value());
    CHECK_FALSE((Transform{1.f, 2.f, 0.f, 2.f, 4.f, 0.f}).inverted().has_value());
}

TEST_CASE("transform: a turned rectangle keeps the order of its corners and grows its bounds")
{
    const Rect rect{0.f, 0.f, 4.f, 2.f};
    const Transform t = Transform::rotation(kQuarter);
    const auto corners = t.mapCorners(rect);
    checkNear(corners[0], {0.f, 0.f});
    checkNear(corners[1], {0.f, 4.f});
    checkNear(corners[2], {-2.f, 4.f});
    checkNear(corners[3], {-2.f, 0.f});
    const Rect bounds = t.mapBounds(rect);
    checkNear({bounds.x, bounds.y}, {-2.f, 0.f});
    checkNear({bounds.width, bounds.height}, {2.f, 4.f});
}

TEST_CASE("quadrilaterals: overlap is found also where their bounds mislead")
{
    const Rect square{0.f, 0.f, 10.f, 10.f};
    const auto upright = Transform().mapCorners(square);
    const auto at = [&](Vector2f where, float angle) {
        return (Transform::translation(where) * Transform::rotation(angle)).mapCorners({-5.f, -5.f, 10.f, 10.f});
    };
    CHECK(quadsIntersect(upright, upright));
    CHECK(quadsIntersect(upright, at({12.f, 5.f}, 0.f)));
    // The bounds of a square on its corner overlap, the square itself does not.
    CHECK_FALSE(quadsIntersect(upright, at({14.f, 14.f}, kQuarter / 2)));
    CHECK(quadsIntersect(upright, at({13.f, 13.f}, kQuarter / 2)));
    // One inside the other.
    CHECK(quadsIntersect(upright, Transform().mapCorners({4.f, 4.f, 1.f, 1.f})));
    CHECK(quadsIntersect(Transform().mapCorners({4.f, 4.f, 1.f, 1.f}), upright));
}

TEST_CASE("quadrilaterals: touching edges do not overlap, nor do points")
{
    const auto a = Transform().mapCorners({0.f, 0.f, 10.f, 10.f});
    CHECK_FALSE(quadsIntersect(a, Transform().mapCorners({10.f, 0.f, 10.f, 10.f})));
    CHECK_FALSE(quadsIntersect(a, Transform().mapCorners({3.f, 10.f, 1.f, 1.f})));
    const auto point = Transform().mapCorners({5.f, 5.f, 0.f, 0.f});
    CHECK_FALSE(quadsIntersect(point, point));
}
