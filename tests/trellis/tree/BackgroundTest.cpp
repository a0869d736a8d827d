#include "tree/Background.hpp"

#include "Scene.hpp"

#include <LogCapture.hpp>

using Trellis::BackgroundPosition;
using Trellis::BackgroundSize;
using Trellis::Length;
using Trellis::Widget;
using namespace TrellisTest;

namespace
{
/// What the attribute has when a style sheet says that.
QString valueOf(const char* attribute, const char* written)
{
    Scene scene(kSmall);
    auto& widget = *new Widget(&scene.root());
    Cascara::StyleEngine::instance().addStyleSheet(
        QStringLiteral(".t { %1: %2 }").arg(QLatin1String(attribute), QLatin1String(written)), QStringLiteral("test.css"));
    widget.addCSSClass("t");
    return widget.attribute(attribute)->toText();
}
}

TEST_CASE("background: sizes, positions and repetitions are written as in CSS")
{
    struct Row
    {
        const char* attribute;
        const char* written;
        const char* read;
    };
    const Row rows[] = {
        {"background-size", "cover", "cover"},
        {"background-size", "50% auto, contain, 20px", "50% auto, contain, 20px auto"},
        {"background-position", "right", "100% 50%"},
        {"background-position", "top", "50% 0%"},
        {"background-position", "bottom left", "0% 100%"},
        {"background-position", "center bottom", "50% 100%"},
        {"background-position", "10px", "10px 50%"},
        {"background-position", "right 20%", "100% 20%"},
        {"background-position", "10px calc(100% - 5px), 0 0", "10px calc(100% - 5px), 0px 0px"},
        {"background-repeat", "no-repeat", "no-repeat"},
        {"background-repeat", "repeat no-repeat, repeat-y", "repeat-x, repeat-y"},
        {"background-repeat", "no-repeat repeat", "repeat-y"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.written);
        CHECK(valueOf(row.attribute, row.written) == QLatin1String(row.read));
    }
}

TEST_CASE("background: what is none of these is reported with what was expected")
{
    struct Row
    {
        const char* attribute;
        const char* expected;
        std::vector<const char*> written;
        const char* initial;
    };
    const Row rows[] = {
        {"background-size", "expected one or two lengths, cover or contain", {"wide", "1px 2px 3px", "cover 2px"}, "auto auto"},
        {"background-position",
         "expected one or two of left, center, right, top, bottom and lengths",
         {"top 20px", "20px left", "left right", "left, ", "auto"},
         "0% 0%"},
        {"background-repeat", "expected repeat, no-repeat, repeat-x or repeat-y", {"round", "repeat-x repeat"}, "repeat"},
        {"background-image",
         "expected none or url()s, linear-gradient()s and radial-gradient()s separated by commas",
         {"red", "none, none", "linear-gradient(red)", "linear-gradient()", "linear-gradient(to, red, blue)",
          "linear-gradient(to left right, red, blue)", "linear-gradient(1px 2px 3px red, blue)", "linear-gradient(5%, red, blue)",
          "linear-gradient(red, 5%)", "linear-gradient(red, 5%, 8%, blue)", "radial-gradient(circle 50%, red, blue)",
          "radial-gradient(circle 1px 2px, red, blue)", "radial-gradient(ellipse 1px, red, blue)",
          "radial-gradient(at, red, blue)", "radial-gradient(circle ellipse, red, blue)",
          "radial-gradient(closest-side 3px, red, blue)", "conic-gradient(red, blue)"},
         "none"},
    };
    for (const Row& row : rows)
        for (const char* written : row.written) {
            CAPTURE(written);
            TestSupport::expectWarning(std::string("StyleEngine # test.css:1:6: ") + row.attribute + ": " + row.expected
                                       + ", got '" + QString::fromLatin1(written).trimmed().toStdString()
                                       + "'; the declaration is skipped");
            CHECK(valueOf(row.attribute, written) == QLatin1String(row.initial));
        }
}

TEST_CASE("background: a tile has its own size, a given one, or one that fits the area, and stands where it is told")
{
    const Vecta::Rect area{10, 20, 200, 100};
    const Vecta::Vector2f own{40, 40};
    const auto tile = [&](BackgroundSize size, BackgroundPosition position) { return backgroundTile(area, own, size, position); };
    const BackgroundPosition corner, middle{Length::percent(50), Length::percent(50)};
    CHECK(tile({}, corner) == Vecta::Rect{10, 20, 40, 40});
    CHECK(tile({}, middle) == Vecta::Rect{90, 50, 40, 40});
    CHECK(tile({}, {Length::percent(100), Length::pixels(7)}) == Vecta::Rect{170, 27, 40, 40});
    CHECK(tile({BackgroundSize::Kind::Given, Length::pixels(80), {}}, corner) == Vecta::Rect{10, 20, 80, 80});
    CHECK(tile({BackgroundSize::Kind::Given, {}, Length::percent(10)}, corner) == Vecta::Rect{10, 20, 10, 10});
    CHECK(tile({BackgroundSize::Kind::Cover, {}, {}}, middle) == Vecta::Rect{10, -30, 200, 200});
    CHECK(tile({BackgroundSize::Kind::Contain, {}, {}}, middle) == Vecta::Rect{60, 20, 100, 100});
    CHECK(backgroundTile(area, {}, {}, middle) == area);
    CHECK(backgroundTile(area, {}, {BackgroundSize::Kind::Given, Length::pixels(20), {}}, corner)
          == Vecta::Rect{10, 20, 20, 100});
    CHECK(backgroundTile(area, {}, {BackgroundSize::Kind::Cover, {}, {}}, corner) == area);
}
