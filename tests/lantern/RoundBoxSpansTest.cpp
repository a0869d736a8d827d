#include "RoundBoxSpans.hpp"

#include "TestColors.hpp"

#include <doctest/doctest.h>

#include <QTransform>

#include <algorithm>
#include <cmath>
#include <random>

using Lantern::PixelSpan;
using Lantern::RoundBoxSpans;
using LanternTest::kArea;

namespace
{
/// By which a point lies inside the outline of a box around 0; negative outside.
double insideRoundBox(QPointF point, double width, double height, double radius)
{
    const double x = std::abs(point.x()) - width / 2 + radius, y = std::abs(point.y()) - height / 2 + radius;
    return radius - (x > 0 && y > 0 ? std::hypot(x, y) : std::max(x, y));
}
}

TEST_CASE("round box spans: what is outside of them is not touched, and what is full is inside by the edge")
{
    std::mt19937 random(3);
    const auto number = [&](double low, double high) { return low + (high - low) * double(random() % 10000) / 10000.0; };
    int full = 0;
    for (int i = 0; i < 200; ++i) {
        const double width = number(5, 60), height = number(5, 50);
        const double radius = number(0, std::min(width, height) / 2), edge = number(0.5, 3);
        QTransform toDevice;
        toDevice.translate(60, 50);
        toDevice.rotate(i % 4 ? number(-180, 180) : double(i % 3) * 90.0);
        const QTransform toBox = toDevice.inverted();
        const RoundBoxSpans spans(toBox, QRectF(-width / 2, -height / 2, width, height), edge, radius + edge);
        for (int y = 0; y < kArea.height(); ++y) {
            const PixelSpan span = spans.span(kArea, y);
            REQUIRE(span.begin <= span.fullBegin);
            REQUIRE(span.fullBegin <= span.fullEnd);
            REQUIRE(span.fullEnd <= span.end);
            for (int x = 0; x < kArea.width(); ++x) {
                const double inside = insideRoundBox(toBox.map(QPointF(x + 0.5, y + 0.5)), width, height, radius);
                if (inside > -edge)
                    REQUIRE((span.begin <= x && x < span.end));
                if (span.fullBegin <= x && x < span.fullEnd)
                    REQUIRE(inside >= edge);
            }
            full += span.fullEnd - span.fullBegin;
        }
    }
    CHECK(full > 10'000);
}

TEST_CASE("round box spans: of two ways through a box the longer one is full")
{
    // 40 wide and 20 high, corners of 8: above and below them only the middle is full.
    const RoundBoxSpans spans(QTransform(), QRectF(10.5, 10.5, 40, 20), 1, 9);
    CHECK(spans.span(kArea, 20).fullBegin == 12);
    CHECK(spans.span(kArea, 20).fullEnd == 49);
    CHECK(spans.span(kArea, 12).fullBegin == 20);
    CHECK(spans.span(kArea, 12).fullEnd == 41);
}
