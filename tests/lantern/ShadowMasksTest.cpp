#include "ShadowMasks.hpp"

#include "ShadowPlaces.hpp"

#include <QTransform>

#include <doctest/doctest.h>

#include <cmath>

using namespace Lantern;

namespace
{
RoundBox shadowBox(float width, float height, float radius = 0.f)
{
    return {{3.f, 4.f, width, height}, Corners::all(radius)};
}

/// The share at a place that is so far from the top left corner of a box with that size.
double shareAt(const ShadowMask& mask, double x, double y, float width, float height)
{
    // The middle of the pixel is there.
    const QTransform toLocal = QTransform::fromTranslate(x - 0.5, y - 0.5);
    return ShadowPlaces(mask, toLocal, {0.f, 0.f, width, height}).at(0, 0) / double(ShadowPlaces::kFull);
}
}

TEST_CASE("shadow mask: the blur is a Gaussian whose deviation is half of the blur")
{
    for (const float blur : {2.f, 8.f, 30.f, 120.f}) {
        const ShadowMask mask(ShadowMask::keyOf(shadowBox(900.f, 900.f), blur));
        for (double inside = -1.4 * double(blur); inside < 1.4 * double(blur); inside += double(blur) / 7.0) {
            CAPTURE(blur);
            CAPTURE(inside);
            const double expected = 0.5 * (1.0 + std::erf(inside / (double(blur) / 2.0 * std::sqrt(2.0))));
            CHECK(std::abs(shareAt(mask, inside, 450.0, 900.f, 900.f) - expected) < 0.012);
            CHECK(std::abs(shareAt(mask, 450.0, 900.0 - inside, 900.f, 900.f) - expected) < 0.012);
        }
        CHECK(shareAt(mask, 450.0, 450.0, 900.f, 900.f) == doctest::Approx(1.0).epsilon(0.003));
    }
}

TEST_CASE("shadow mask: a large box has the pixels of a small one with its middle stretched")
{
    const RoundBox large = shadowBox(300.f, 200.f, 14.f);
    const ShadowMask shared(ShadowMask::keyOf(large, 20.f));
    const ShadowMask own({{300.f, 200.f}, large.corners, 20.f});
    CHECK(shared.bytes() < own.bytes());
    double worst = 0.0;
    for (double y = -31.0; y < 231.0; y += 3.7)
        for (double x = -31.0; x < 331.0; x += 3.1)
            worst = std::max(worst, std::abs(shareAt(shared, x, y, 300.f, 200.f) - shareAt(own, x, y, 300.f, 200.f)));
    CHECK(worst < 0.004);
}

TEST_CASE("shadow mask: a box that is smaller than its blur is fainter")
{
    const ShadowMask mask(ShadowMask::keyOf(shadowBox(10.f, 10.f), 40.f));
    const double side = std::erf(5.0 / (20.0 * std::sqrt(2.0)));
    CHECK(shareAt(mask, 5.0, 5.0, 10.f, 10.f) == doctest::Approx(side * side).epsilon(0.02));
}

TEST_CASE("shadow masks: boxes of many sizes share one, other corners, another blur and small boxes have their own")
{
    ShadowMasks masks;
    const auto first = masks.mask(shadowBox(200.f, 100.f, 8.f), 20.f);
    CHECK(masks.mask(shadowBox(140.f, 300.5f, 8.f), 20.f) == first);
    CHECK(masks.built() == 1);
    CHECK(masks.mask(shadowBox(200.f, 100.f, 9.f), 20.f) != first);
    CHECK(masks.mask(shadowBox(200.f, 100.f, 8.f), 21.f) != first);
    CHECK(masks.mask(shadowBox(200.f, 30.f, 8.f), 20.f) != first);
    CHECK(masks.built() == 4);
    CHECK(masks.count() == 4);
    CHECK(masks.mask(shadowBox(200.f, 100.f, 8.f), 20.f) == first);
    CHECK(masks.built() == 4);
}

TEST_CASE("shadow masks: those that were not used for long make room")
{
    const std::size_t bytes = ShadowMask(ShadowMask::keyOf(shadowBox(90.f, 90.f, 8.f), 20.f)).bytes();
    ShadowMasks masks(3 * bytes + bytes / 2);
    const auto wide = [&masks](float radius) { return masks.mask(shadowBox(90.f, 90.f, radius), 20.f); };
    const auto first = wide(8.f);
    (void)wide(7.9f);
    (void)wide(7.8f);
    CHECK(wide(8.f) == first);
    CHECK(masks.count() == 3);
    (void)wide(7.7f);
    CHECK(masks.count() == 3);
    CHECK(masks.built() == 4);
    CHECK(wide(8.f) == first);
    CHECK(masks.built() == 4);
    (void)wide(7.9f);
    CHECK(masks.built() == 5);
}

TEST_CASE("shadow masks: one that is larger than what they may take is kept alone")
{
    ShadowMasks masks(1);
    const auto first = masks.mask(shadowBox(90.f, 90.f, 8.f), 20.f);
    CHECK(masks.mask(shadowBox(90.f, 90.f, 8.f), 20.f) == first);
    CHECK(masks.built() == 1);
    (void)masks.mask(shadowBox(90.f, 90.f, 7.f), 20.f);
    CHECK(masks.count() == 1);
}

TEST_CASE("shadow mask: there is nothing beyond the reach of the blur")
{
    for (const float blur : {0.5f, 20.f}) {
        CAPTURE(blur);
        const ShadowMask mask(ShadowMask::keyOf(shadowBox(90.f, 60.f), blur));
        const double far = 1.5 * double(blur) + 2.0;
        for (const double distance : {far, 1000.0}) {
            CHECK(shareAt(mask, -distance, 30.0, 90.f, 60.f) == 0.0);
            CHECK(shareAt(mask, 90.0 + distance, 30.0, 90.f, 60.f) == 0.0);
            CHECK(shareAt(mask, 45.0, -distance, 90.f, 60.f) == 0.0);
            CHECK(shareAt(mask, 45.0, 60.0 + distance, 90.f, 60.f) == 0.0);
        }
    }
}
