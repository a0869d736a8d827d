#include "table/Shelves.hpp"

#include "TablePlace.hpp"

#include <LogCapture.hpp>
#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

using namespace Host;
using Vecta::Vector2f;

namespace
{
const Trellis::Widget* copy(const char* cssId, const char* place)
{
    for (const auto& child : Tavola::Tavola::instance()->ui()->mainWidget()->children())
        if (child->cssId() == cssId && child->hasCSSClass(place))
            return child.get();
    return nullptr;
}
}

TEST_CASE("shelves: each place has its own copy of everything, turned to the person there")
{
    TablePlace place;
    place.presentation(R"({"styleSheets": ["a.css"], "shelf": [
        {"component": "text", "id": "one", "attributes": {"text": "One", "colour": "red"}},
        {"component": "text", "id": "two", "attributes": {"text": "Two"}}],
        "places": [{"x": 960, "y": 1080}, {"x": 960, "y": 0, "angle": 180}, {"x": 0, "y": 540, "angle": 90}]})");
    place.folder.write(QStringLiteral("a.css"),
                       "TextWidget { position: absolute; width: 100px; height: 40px; }"
                       "#one { left: -200px; top: -100px; } #two { left: 50px; top: -100px; rotation: 10deg; }");
    // Once, not for each place.
    TestSupport::expectWarning(
        "UIComponent # " + place.folder.path().toStdString()
        + "/presentation.json:2:84: shelf[0].attributes.colour: component 'text': a TextWidget has no such "
          "attribute (did you mean 'color'?); skipped");
    const auto table = place.open();
    table->frame(0.0);
    struct Row
    {
        const char* id;
        const char* place;
        Vector2f corner;
        float degrees;
    };
    const Row rows[] = {{"one", "place-1", {760.f, 980.f}, 0.f},    {"two", "place-1", {1010.f, 980.f}, 10.f},
                        {"one", "place-2", {1160.f, 100.f}, 180.f}, {"two", "place-2", {910.f, 100.f}, 190.f},
                        {"one", "place-3", {100.f, 340.f}, 90.f},   {"two", "place-3", {100.f, 590.f}, 100.f}};
    for (const Row& row : rows) {
        CAPTURE(row.id);
        CAPTURE(row.place);
        const auto* const widget = copy(row.id, row.place);
        REQUIRE(widget);
        CHECK(widget->hasCSSClass("shelf"));
        CHECK((widget->mapToScene({}) - row.corner).length() < 0.1f);
        CHECK(double(widget->rotation()) == doctest::Approx(Vecta::degreesToRadians(double(row.degrees))));
    }
}

TEST_CASE("shelves: a place with a mistake is left out, and a shelf without places lies nowhere")
{
    TablePlace place;
    place.presentation(
        R"({"shelf": [{"component": "text", "id": "one"}], "places": [{"x": 1}, {"x": 1, "y": 2, "angle": "up"}, 7]})");
    const std::string file = "Presentation # " + place.folder.path().toStdString() + "/presentation.json: places";
    const std::string wanted = ": expected numbers for \"x\" and \"y\", and degrees for \"angle\"; it is skipped";
    TestSupport::expectWarning(file + "[0]" + wanted);
    TestSupport::expectWarning(file + "[1]" + wanted);
    TestSupport::expectWarning(file + "[2]" + wanted);
    const auto table = place.open();
    CHECK_FALSE(copy("one", "place-1"));
}
