#include "tree/GradientSpec.hpp"

#include "Scene.hpp"

#include <cmath>

using Trellis::Widget;
using namespace TrellisTest;

namespace
{
QString imageOf(const char* written)
{
    Scene scene(kSmall);
    auto& widget = *new Widget(&scene.root());
    Cascara::StyleEngine::instance().addStyleSheet(QStringLiteral(".t { background-image: %1 }").arg(QLatin1String(written)),
                                                   QStringLiteral("test.css"));
    widget.addCSSClass("t");
    return widget.attribute("background-image")->toText();
}

Trellis::GradientSpec redToBlue()
{
    Trellis::GradientSpec spec;
    spec.stops = {{kRed, {}}, {kBlue, {}}};
    return spec;
}

std::vector<double> offsets(const Trellis::GradientSpec& spec, Vecta::Vector2f size)
{
    std::vector<double> result;
    for (const auto& stop : spec.in(size).stops)
        result.push_back(std::round(double(stop.offset) * 1000.0) / 1000.0);
    return result;
}
}

TEST_CASE("gradient spec: directions, shapes and stops are written as in CSS")
{
    struct Row
    {
        const char* written;
        const char* read;
    };
    const Row rows[] = {
        {"linear-gradient(red, blue)", "linear-gradient(3.141593rad, #FF0000, #0000FF)"},
        {"LINEAR-gradient(90deg, red 10%, #00f 20px 80%)",
         "linear-gradient(1.570796rad, #FF0000 10%, #0000FF 20px, #0000FF 80%)"},
        {"linear-gradient(to left top, red, transparent)", "linear-gradient(to top left, #FF0000, #00000000)"},
        {"linear-gradient(to bottom, red, lime, blue)", "linear-gradient(to bottom, #FF0000, #00FF00, #0000FF)"},
        {"linear-gradient(30px red, calc(100% - 5px) blue)",
         "linear-gradient(3.141593rad, #FF0000 30px, #0000FF calc(100% - 5px))"},
        {"radial-gradient(red, blue)", "radial-gradient(ellipse farthest-corner at 50% 50%, #FF0000, #0000FF)"},
        {"radial-gradient(circle at top left, red, blue)", "radial-gradient(circle farthest-corner at 0% 0%, #FF0000, #0000FF)"},
        {"radial-gradient(closest-side circle, red, blue)", "radial-gradient(circle closest-side at 50% 50%, #FF0000, #0000FF)"},
        {"radial-gradient(20px, red, blue)", "radial-gradient(circle 20px at 50% 50%, #FF0000, #0000FF)"},
        {"radial-gradient(20px 50% at 10px 20%, red, blue)", "radial-gradient(ellipse 20px 50% at 10px 20%, #FF0000, #0000FF)"},
        {"radial-gradient(at right, red, blue)", "radial-gradient(ellipse farthest-corner at 100% 50%, #FF0000, #0000FF)"},
        {"linear-gradient(red, 30%, blue)", "linear-gradient(3.141593rad, #FF0000, 30%, #0000FF)"},
        {"radial-gradient(red, 5px, blue 10% 20%, calc(50% + 1px), lime)",
         "radial-gradient(ellipse farthest-corner at 50% 50%, #FF0000, 5px, #0000FF 10%, #0000FF 20%, calc(50% + 1px), #00FF00)"},
        {"none", "none"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.written);
        CHECK(imageOf(row.written) == QLatin1String(row.read));
        CHECK(imageOf(row.read) == QLatin1String(row.read));
    }
}

TEST_CASE("gradient spec: an angle leads from corner to corner of the box, clockwise from upwards")
{
    Trellis::GradientSpec spec = redToBlue();
    const auto check = [&spec](double degrees, Vecta::Vector2f from, Vecta::Vector2f to) {
        CAPTURE(degrees);
        spec.radians = float(degrees * double(kPi) / 180.0);
        const auto gradient = spec.in({100.f, 60.f});
        CHECK(std::hypot(gradient.from.x - from.x, gradient.from.y - from.y) < 0.01f);
        CHECK(std::hypot(gradient.to.x - to.x, gradient.to.y - to.y) < 0.01f);
    };
    check(0, {50, 60}, {50, 0});
    check(90, {0, 30}, {100, 30});
    check(180, {50, 0}, {50, 60});
    check(45, {10, 70}, {90, -10});
}

TEST_CASE("gradient spec: towards a corner, the line through its neighbours has the colour of the middle")
{
    for (const Vecta::Vector2f size : {Vecta::Vector2f{100, 60}, Vecta::Vector2f{20, 300}})
        for (const int x : {-1, 1})
            for (const int y : {-1, 1}) {
                Trellis::GradientSpec spec = redToBlue();
                spec.toX = x;
                spec.toY = y;
                const auto gradient = spec.in(size);
                const Vecta::Vector2f along = gradient.to - gradient.from;
                const auto offset = [&](float px, float py) {
                    return ((px - gradient.from.x) * along.x + (py - gradient.from.y) * along.y)
                        / (along.x * along.x + along.y * along.y);
                };
                const float right = x > 0 ? size.x : 0.f, bottom = y > 0 ? size.y : 0.f;
                CHECK(offset(right, bottom) == near(1.f));
                CHECK(offset(size.x - right, size.y - bottom) == doctest::Approx(0.0).epsilon(0.001));
                CHECK(offset(right, size.y - bottom) == near(0.5f));
                CHECK(offset(size.x - right, bottom) == near(0.5f));
            }
    Trellis::GradientSpec side = redToBlue();
    side.toX = -1;
    CHECK(side.in({100, 60}).from == Vecta::Vector2f{100, 30});
    CHECK(side.in({100, 60}).to == Vecta::Vector2f{0, 30});
}

TEST_CASE(
    "gradient spec: stops without a place stand evenly between the others, and none comes before one that is written earlier")
{
    using Trellis::Length;
    Trellis::GradientSpec spec;
    spec.stops = {{kRed, {}}, {kBlue, {}}, {kRed, {}}, {kBlue, Length::percent(60)}, {kRed, Length::pixels(10)}, {kBlue, {}}};
    CHECK(offsets(spec, {50, 100}) == std::vector<double>{0, 0.2, 0.4, 0.6, 0.6, 1});
    spec.stops = {{kRed, Length::percent(50)}, {kBlue, {}}, {kRed, Length::pixels(100)}};
    CHECK(offsets(spec, {50, 100}) == std::vector<double>{0.5, 0.75, 1});
    CHECK(offsets(spec, {0, 0}) == std::vector<double>{0.5, 0.5, 0.5});
}

TEST_CASE("gradient spec: a radial one reaches the sides or corners that it names")
{
    using Extent = Trellis::GradientSpec::Extent;
    Trellis::GradientSpec spec = redToBlue();
    spec.kind = Lantern::Gradient::Kind::Radial;
    spec.centreX = Trellis::Length::pixels(30);
    spec.centreY = Trellis::Length::pixels(10);
    const auto radii = [&spec](bool isCircle, Extent extent) {
        spec.isCircle = isCircle;
        spec.extent = extent;
        return spec.in({100, 60}).to;
    };
    CHECK(spec.in({100, 60}).from == Vecta::Vector2f{30, 10});
    CHECK(radii(true, Extent::ClosestSide) == Vecta::Vector2f{10, 10});
    CHECK(radii(true, Extent::FarthestSide) == Vecta::Vector2f{70, 70});
    CHECK(radii(true, Extent::ClosestCorner).x == near(std::hypot(30.f, 10.f)));
    CHECK(radii(true, Extent::FarthestCorner).x == near(std::hypot(70.f, 50.f)));
    CHECK(radii(false, Extent::ClosestSide) == Vecta::Vector2f{30, 10});
    CHECK(radii(false, Extent::FarthestSide) == Vecta::Vector2f{70, 50});
    // Through the corner, in the proportion of the sides.
    CHECK(radii(false, Extent::FarthestCorner).x == near(70.f * std::sqrt(2.f)));
    CHECK(radii(false, Extent::FarthestCorner).y == near(50.f * std::sqrt(2.f)));
}

TEST_CASE("gradient spec: a hint says where half the way between two colours is")
{
    Trellis::GradientSpec spec = redToBlue();
    const auto exponent = [&](std::optional<Trellis::Length> hint, std::size_t stop = 1) {
        spec.stops[stop].hint = hint;
        spec.radians = kPi / 2.f;
        return double(spec.in({200.f, 10.f}).stops[stop].exponent);
    };
    using Trellis::Length;
    CHECK(exponent(std::nullopt) == 1.0);
    CHECK(exponent(Length::percent(50.f)) == doctest::Approx(1.0));
    CHECK(exponent(Length::percent(25.f)) == doctest::Approx(0.5));
    CHECK(exponent(Length::pixels(50.f)) == doctest::Approx(0.5));
    CHECK(exponent(Length::percent(0.f)) == 0.0);
    CHECK(exponent(Length::percent(-20.f)) == 0.0);
    CHECK(std::isinf(exponent(Length::percent(100.f))));
    // A stop that comes too early moves on to the hint, so that the colour before goes on to there.
    spec.stops[1].place = Length::percent(40.f);
    spec.stops[1].hint = Length::percent(70.f);
    CHECK(offsets(spec, {200.f, 10.f}) == std::vector<double>{0.0, 0.7});
    CHECK(std::isinf(exponent(Length::percent(70.f))));
    // Stops without a place lie as if there were no hint.
    spec.stops = {{kRed, {}, {}}, {kGreen, {}, Length::percent(10.f)}, {kBlue, {}, {}}};
    CHECK(offsets(spec, {200.f, 10.f}) == std::vector<double>{0.0, 0.5, 1.0});
    CHECK(exponent(Length::percent(12.5f)) == doctest::Approx(0.5));
}
