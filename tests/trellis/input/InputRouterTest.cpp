#include "Scene.hpp"

#include <Trellis/GrabManager.hpp>

using Trellis::Widget;
using namespace TrellisTest;

namespace
{
constexpr Vecta::Vector2f kPlace{150, 150};

/// Adds a word to a shared log for each thing that happens to it.
void logEvents(Widget& widget, std::string& log)
{
    for (const char* event : {"finger-down", "finger-up", "marker-down", "marker-up"})
        widget.eventAddListener(event, [&log, event] { log += (log.empty() ? "" : ", ") + std::string(event); });
}
}

TEST_CASE("input router: cards and fingers of one sample are delivered in the order of the sample")
{
    struct Row
    {
        std::string name;
        void (*happens)(TestSupport::ScriptedInput&);
        const char* expected;
    };
    const Row rows[] = {
        {"a finger, then a card",
         [](TestSupport::ScriptedInput& input) {
             input.fingerDown(1, kPlace);
             input.markerDown(1001, kPlace);
         },
         "finger-down, marker-down"},
        {"a card, then a finger",
         [](TestSupport::ScriptedInput& input) {
             input.markerDown(1001, kPlace);
             input.fingerDown(1, kPlace);
         },
         "marker-down, finger-down"},
        {"a card between down and up of a finger",
         [](TestSupport::ScriptedInput& input) {
             input.fingerDown(1, kPlace);
             input.markerDown(1001, kPlace);
             input.fingerUp(1);
         },
         "finger-down, marker-down, finger-up"},
        {"a finger between down and up of a card",
         [](TestSupport::ScriptedInput& input) {
             const auto card = input.markerDown(1001, kPlace);
             input.tap(1, kPlace);
             input.markerUp(card);
         },
         "marker-down, finger-down, finger-up, marker-up"},
    };
    for (const Row& row : rows) {
        INFO(row.name);
        Scene scene;
        auto& widget = scene.box(100, 100, 100, 100);
        std::string log;
        logEvents(widget, log);
        row.happens(scene.input);
        scene.frames();
        CHECK(log == row.expected);
    }
}

TEST_CASE("input router: what a finger opens receives the card that comes after it in the same sample")
{
    Scene scene;
    auto& button = scene.box(100, 100, 100, 100);
    Widget* opened = nullptr;
    std::string log;
    button.eventAddListener("finger-down", [&] {
        opened = &scene.box(300, 300, 100, 100);
        logEvents(*opened, log);
    });
    scene.input.fingerDown(1, {150, 150});
    const auto card = scene.input.markerDown(1001, {350, 350});
    scene.frames();
    REQUIRE(opened);
    CHECK(log == "marker-down");
    CHECK(scene.app.grabManager()->grabber(card) == &opened->inputGrabber());
}

TEST_CASE("input router: a card that a widget gives away during a finger's event goes to its new holder")
{
    Scene scene;
    auto& first = scene.box(100, 100, 100, 100);
    auto& second = scene.box(300, 100, 100, 100);
    std::string log;
    logEvents(second, log);
    const auto card = scene.input.markerDown(1001, {150, 150});
    first.eventAddListener("finger-down", [&] { scene.app.grabManager()->transferGrab(card, second.inputGrabber()); });
    scene.frames();
    scene.input.fingerDown(1, {150, 150});
    scene.input.markerUp(card);
    scene.frames();
    // The card had left when the finger came, so there is nothing to give; had it not, the new holder would have it.
    CHECK(log.empty());
    const auto again = scene.input.markerDown(1001, {150, 150});
    CHECK(again == card);
    scene.input.fingerUp(1);
    scene.frames();
    scene.input.fingerDown(2, {150, 150});
    scene.frames();
    CHECK(log == "marker-down");
    scene.input.markerUp(card);
    scene.frames();
    CHECK(log == "marker-down, marker-up");
}
