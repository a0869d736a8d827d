#include <Tactile/OneEuroFilter.hpp>

#include <doctest/doctest.h>

#include <cmath>

using Tactile::OneEuroFilter;

TEST_CASE("one euro filter: a point at rest stays where it is")
{
    OneEuroFilter filter;
    filter.reset({100.f, 50.f});
    for (int i = 0; i < 100; ++i)
        CHECK(filter.filter({100.f, 50.f}, 1.0 / 60) == Vecta::Vector2f(100.f, 50.f));
}

TEST_CASE("one euro filter: trembling at rest becomes smaller, and a quick movement is followed closely")
{
    OneEuroFilter filter;
    filter.reset({0.f, 0.f});
    float most = 0.f;
    for (int i = 0; i < 200; ++i) {
        const float tremble = i % 2 == 0 ? 1.f : -1.f;
        const float value = std::abs(filter.filter({tremble, 0.f}, 1.0 / 60).x);
        if (i > 20)
            most = std::max(most, value);
    }
    CHECK(most < 0.35f);

    filter.reset({0.f, 0.f});
    float x = 0.f;
    for (int i = 0; i < 60; ++i)
        filter.filter({x += 30.f, 0.f}, 1.0 / 60); // 1800 px/s
    CHECK(x - filter.value().x < 15.f);            // half a frame
    CHECK(x - filter.value().x > 0.f);
}

TEST_CASE("one euro filter: it reaches a point that stays")
{
    OneEuroFilter filter;
    filter.reset({0.f, 0.f});
    for (int i = 0; i < 180; ++i)
        filter.filter({300.f, 40.f}, 1.0 / 60);
    CHECK(filter.value().x == doctest::Approx(300.f).epsilon(0.001));
    CHECK(filter.value().y == doctest::Approx(40.f).epsilon(0.001));
}

TEST_CASE("one euro filter: where no time has passed the value is taken as it is")
{
    OneEuroFilter filter;
    filter.reset({0.f, 0.f});
    CHECK(filter.filter({10.f, 20.f}, 0.0) == Vecta::Vector2f(10.f, 20.f));
    CHECK(filter.filter({5.f, 6.f}, -1.0) == Vecta::Vector2f(5.f, 6.f));
}
