#include "BoxEdges.hpp"

#include "TestColors.hpp"

#include <doctest/doctest.h>

#include <QRectF>
#include <QTransform>

#include <cmath>
#include <random>

using Lantern::BoxEdges;
using Lantern::PixelSpan;
using LanternTest::kArea;

namespace
{

unsigned coverageAt(const BoxEdges& edges, int x, int y)
{
    return edges.row(y).coverage(x);
}
}

TEST_CASE("box edges: an upright box covers each pixel by the share that it overlaps")
{
    const BoxEdges edges(QTransform(), QRectF(10.25, 20.5, 30, 8.25));
    CHECK(coverageAt(edges, 9, 24) == 0);
    CHECK(coverageAt(edges, 10, 24) == 191);
    CHECK(coverageAt(edges, 11, 24) == 255);
    CHECK(coverageAt(edges, 40, 24) == 64);
    CHECK(coverageAt(edges, 41, 24) == 0);
    CHECK(coverageAt(edges, 20, 20) == 128);
    CHECK(coverageAt(edges, 20, 28) == 191);
    CHECK(coverageAt(edges, 10, 20) == 96);
}

TEST_CASE("box edges: what is thinner than a pixel covers as much as it is thick")
{
    const BoxEdges edges(QTransform(), QRectF(10, 20.25, 30, 0.5));
    CHECK(coverageAt(edges, 20, 20) == 128);
    CHECK(coverageAt(edges, 20, 19) == 0);
    CHECK(coverageAt(edges, 20, 21) == 0);
}

TEST_CASE("box edges: a turned box covers its area, all of it inside its spans, and all of a pixel where they are full")
{
    std::mt19937 random(2);
    const auto number = [&](double low, double high) { return low + (high - low) * double(random() % 10000) / 10000.0; };
    for (int i = 0; i < 200; ++i) {
        const double width = number(5, 50), height = number(5, 40), scale = number(0.5, 1.5);
        QTransform toDevice;
        toDevice.translate(60 + number(-1, 1), 50 + number(-1, 1));
        toDevice.rotate(i % 4 ? number(-180, 180) : double(i % 3) * 90.0);
        toDevice.scale(scale, scale);
        const QRectF box(-width / 2, -height / 2, width, height);
        const BoxEdges edges(toDevice.inverted(), box);
        double covered = 0;
        for (int y = 0; y < kArea.height(); ++y) {
            const PixelSpan span = edges.span(kArea, y);
            for (int x = 0; x < kArea.width(); ++x) {
                const unsigned coverage = coverageAt(edges, x, y);
                covered += coverage / 255.0;
                if (coverage > 0) {
                    REQUIRE(span.begin <= x);
                    REQUIRE(x < span.end);
                }
                if (span.fullBegin <= x && x < span.fullEnd)
                    REQUIRE(coverage == 255);
            }
            // Nothing is lost: a pixel beside the full ones is not surely covered.
            REQUIRE(span.fullEnd - span.fullBegin >= 0);
        }
        const double area = width * height * scale * scale;
        CHECK(covered == doctest::Approx(area).epsilon(0.02));
    }
}

TEST_CASE("box edges: in the middle of a box the span is full but for its two ends")
{
    QTransform toDevice;
    toDevice.translate(30, 20);
    toDevice.rotate(10);
    const PixelSpan span = BoxEdges(toDevice.inverted(), QRectF(0, 0, 60, 40)).span(kArea, 45);
    CHECK(span.fullEnd - span.fullBegin > 50);
    CHECK(span.fullBegin - span.begin <= 2);
    CHECK(span.end - span.fullEnd <= 2);
    const PixelSpan above = BoxEdges(toDevice.inverted(), QRectF(0, 0, 60, 40)).span(kArea, 5);
    CHECK(above.begin >= above.end);
}
