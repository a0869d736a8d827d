#include <Vecta/Vector2T.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

TEST_CASE("vector: adds, subtracts, scales and compares by value")
{
    constexpr Vector2f a{1.f, 2.f};
    constexpr Vector2f b{3.f, -4.f};
    CHECK(a + b == Vector2f(4.f, -2.f));
    CHECK(a - b == Vector2f(-2.f, 6.f));
    CHECK(-a == Vector2f(-1.f, -2.f));
    CHECK(a * 2.f == Vector2f(2.f, 4.f));
    CHECK(2.f * a == Vector2f(2.f, 4.f));
    CHECK(b / 2.f == Vector2f(1.5f, -2.f));
    CHECK(a != b);
    CHECK(Vector2f() == Vector2f(0.f, 0.f));
    CHECK(dot(a, b) == -5.f);
    CHECK(cross(a, b) == -10.f);
    CHECK(cross(b, a) == 10.f);
}

TEST_CASE("vector: has a length")
{
    CHECK(Vector2f(3.f, 4.f).length() == 5.f);
    CHECK(Vector2f(3.f, 4.f).lengthSquared() == 25.f);
    CHECK(Vector2f().length() == 0.f);
}

TEST_CASE("vector: a quarter turn takes the x axis to the y axis, which points down")
{
    const Vector2f turned = Vector2f(2.f, 0.f).rotated(1.57079632679f);
    CHECK(turned.x == doctest::Approx(0.f));
    CHECK(turned.y == doctest::Approx(2.f));
}
