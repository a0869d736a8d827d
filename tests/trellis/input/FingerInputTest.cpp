#include "Scene.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Trellis/GrabManager.hpp>

#include <cmath>

using Bedrock::IntrusiveWeakPtr;
using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

// ---- Taps --------------------------------------------------------------------------------------------------------------

TEST_CASE("input: a tap reaches the widget under the finger, with the place in its coordinates")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "scale: 2;");
    EventCount taps(widget, "single-tap");
    scene.input.tap(1, {140, 160});
    scene.frames();
    REQUIRE(taps.count == 1);
    CHECK(taps.last.readFloat32() == near(20));
    CHECK(taps.last.readFloat32() == near(30));
    CHECK_FALSE(widget.isHeld());
}

TEST_CASE("input: a tap goes to the first widget upwards that listens")
{
    Scene scene;
    auto& outer = scene.box(100, 100, 200, 200);
    auto* inner = new Widget(&outer);
    style(*inner, "position: absolute; left: 50px; top: 50px; width: 50px; height: 50px;");
    EventCount taps(outer, "single-tap");
    scene.input.tap(1, {160, 170});
    scene.frames();
    REQUIRE(taps.count == 1);
    CHECK(taps.last.readFloat32() == near(60));
    CHECK(taps.last.readFloat32() == near(70));
    EventCount innerTaps(*inner, "single-tap");
    scene.input.tap(2, {160, 170});
    scene.frames();
    CHECK(taps.count == 1);
    CHECK(innerTaps.count == 1);
}

TEST_CASE("input: a touch is a tap when its finger stays, leaves in time and is alone")
{
    using Input = TestSupport::ScriptedInput;
    struct Frame
    {
        void (*happens)(Input&);
        double dtSeconds = kFrameSeconds;
    };
    struct Row
    {
        std::string name;
        std::vector<Frame> frames;
        int taps;
        int otherTaps = 0;
    };
    const auto down = [](Input& input) { input.fingerDown(1, {150, 150}); };
    const auto up = [](Input& input) { input.fingerUp(1); };
    const auto rest = [](Input&) {};
    const Row rows[] = {
        {"down and up in one frame",
         {{[](Input& input) {
             input.tap(1, {150, 150});
         }}},
         1},
        {"trembling within the distance",
         {{down},
          {[](Input& input) {
              input.fingerMove(1, {158, 158});
          }},
          {up}},
         1},
        {"further away",
         {{down}, {[](Input& input) {
              input.fingerMove(1, {170, 150});
              input.fingerUp(1);
          }}},
         0},
        {"further away and back",
         {{down}, {[](Input& input) {
              input.fingerMove(1, {170, 150});
              input.fingerMove(1, {150, 150});
              input.fingerUp(1);
          }}},
         0},
        {"just in time", {{down, 0.1}, {rest, 0.1}, {rest, 0.1}, {rest, 0.1}, {up, 0.09}}, 1},
        {"half a second after the touch", {{down, 0.1}, {rest, 0.1}, {rest, 0.1}, {rest, 0.1}, {rest, 0.1}, {up, 0.1}}, 0},
        {"two fingers on one widget",
         {{[](Input& input) {
              input.fingerDown(1, {120, 150});
              input.fingerDown(2, {180, 150});
          }},
          {[](Input& input) {
              input.fingerUp(1);
              input.fingerUp(2);
          }}},
         0},
        {"two fingers on two widgets",
         {{[](Input& input) {
             input.tap(1, {150, 150});
             input.tap(2, {350, 150});
         }}},
         1,
         1},
        {"a touch that is lost", {{down}, {[](Input& input) { input.fingerCancel(1); }}}, 0},
    };
    for (const Row& row : rows) {
        INFO(row.name);
        Scene scene;
        auto& widget = scene.box(100, 100, 100, 100, "movable: true; inertia: false;");
        auto& other = scene.box(300, 100, 100, 100);
        EventCount taps(widget, "single-tap");
        EventCount otherTaps(other, "single-tap");
        EventCount begins(widget, "interaction-begin");
        EventCount ends(widget, "interaction-end");
        for (const Frame& frame : row.frames) {
            frame.happens(scene.input);
            scene.frame(frame.dtSeconds);
        }
        CHECK(taps.count == row.taps);
        CHECK(otherTaps.count == row.otherTaps);
        // Whatever it was, the interaction is over, and a tap moves nothing.
        CHECK(begins.count == 1);
        CHECK(ends.count == 1);
        if (row.taps > 0)
            CHECK_POINT(widget.location(), 100, 100);
    }
}

TEST_CASE("input: the limits of a tap can be set")
{
    Scene scene;
    scene.app.setTapLimits(30.f, 2.0);
    auto& widget = scene.box(100, 100, 100, 100);
    EventCount taps(widget, "single-tap");
    scene.input.fingerDown(1, {150, 150});
    scene.frames(1, 1.0);
    scene.input.fingerMove(1, {175, 150});
    scene.input.fingerUp(1);
    scene.frames(1, 1.0);
    CHECK(taps.count == 1);
}

// ---- Interactions ------------------------------------------------------------------------------------------------------

TEST_CASE("input: an interaction begins with the first finger and ends with the last, at the widget that moves")
{
    Scene scene;
    auto& space = scene.box(100, 100, 200, 200, "movable: true;");
    auto* button = new Widget(&space);
    style(*button, "width: 100px; height: 100px;");
    EventCount begins(space, "interaction-begin");
    EventCount ends(space, "interaction-end");
    EventCount buttonBegins(*button, "interaction-begin");
    scene.input.fingerDown(1, {120, 120});
    scene.frames();
    scene.input.fingerDown(2, {250, 250});
    scene.frames();
    CHECK(begins.count == 1);
    CHECK(buttonBegins.count == 0);
    CHECK(space.isHeld());
    CHECK(button->isHeld());
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(ends.count == 0);
    CHECK_FALSE(button->isHeld());
    scene.input.fingerUp(2);
    scene.frames();
    CHECK(begins.count == 1);
    CHECK(ends.count == 1);
    CHECK_FALSE(space.isHeld());
}

TEST_CASE("input: a widget that does not move sends its own interactions")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 200, 200);
    EventCount begins(widget, "interaction-begin");
    EventCount ends(widget, "interaction-end");
    scene.input.tap(1, {120, 120});
    scene.frames();
    CHECK(begins.count == 1);
    CHECK(ends.count == 1);
}

TEST_CASE("input: a movable widget that is touched comes to the top of its siblings")
{
    Scene scene;
    auto& a = scene.box(100, 100, 200, 200, "movable: true;");
    auto& b = scene.box(500, 100, 200, 200);
    scene.input.tap(1, {120, 120});
    scene.frames();
    CHECK(scene.app.mainLayer()->children().back() == &a);
    scene.input.tap(1, {520, 120});
    scene.frames();
    CHECK(scene.app.mainLayer()->children().back() == &a);
    CHECK(scene.app.mainLayer()->children().front() == &b);
}

// ---- Widgets go while they are touched -----------------------------------------------------------------------------------

TEST_CASE("input: a widget may be deleted by its own events, or delete sibling and parent")
{
    for (const char* event : {"interaction-begin", "finger-down", "finger-up", "interaction-end", "single-tap"}) {
        for (const int victim : {0, 1, 2}) {
            CAPTURE(event);
            CAPTURE(victim);
            Scene scene;
            auto& parent = scene.box(100, 100, 200, 200);
            auto* own = new Widget(&parent);
            style(*own, "width: 100px; height: 100px;");
            auto* sibling = new Widget(&parent);
            Widget* victims[] = {own, sibling, &parent};
            const IntrusiveWeakPtr<Widget> watched(victims[victim]);
            int calls = 0;
            own->eventAddListener(event, [&] {
                ++calls;
                victims[victim]->removeFromParent();
            });
            scene.input.fingerDown(1, {150, 150});
            scene.frames();
            scene.input.fingerUp(1);
            scene.frames(2);
            CHECK(calls == 1);
            CHECK_FALSE(watched);
        }
    }
}

TEST_CASE("input: a drag goes on when the part that was touched is taken away")
{
    Scene scene;
    auto& space = scene.box(100, 100, 200, 200, "movable: true;");
    auto* button = new Widget(&space);
    style(*button, "width: 100px; height: 100px;");
    EventCount taps(space, "single-tap");
    EventCount ends(space, "interaction-end");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    button->removeFromParent();
    scene.input.fingerMove(1, {200, 150});
    scene.frames();
    CHECK_POINT(space.location(), 150, 100);
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(ends.count == 1);
    CHECK(taps.count == 0);
}

TEST_CASE("input: a widget may be deleted by a listener to its own location while it is dragged")
{
    Scene scene;
    const IntrusiveWeakPtr<Widget> widget(&scene.box(100, 100, 200, 200, "movable: true; rotatable: true;"));
    (void)widget.lock()->location();
    widget.lock()->attribute("location")->addListener([&] {
        if (const auto strong = widget.lock())
            strong->removeFromParent();
    });
    scene.input.fingerDown(1, {150, 150});
    scene.input.fingerDown(2, {250, 150});
    scene.frames();
    scene.input.fingerMove(1, {190, 150});
    scene.input.fingerMove(2, {290, 190});
    scene.frames();
    CHECK_FALSE(widget);
    scene.input.fingerUp(1);
    scene.input.fingerUp(2);
    scene.frames();
}

// ---- What is not touched -----------------------------------------------------------------------------------------------

TEST_CASE("input: with input switched off neither the widget nor its children are touched, and held ones let go")
{
    Scene scene;
    auto& overlay = scene.box(100, 100, 200, 200);
    auto* child = new Widget(&overlay);
    style(*child, "width: 100px; height: 100px;");
    EventCount begins(*child, "interaction-begin");
    EventCount ends(*child, "interaction-end");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    overlay.setInputEnabled(false);
    CHECK_FALSE(child->isHeld());
    scene.input.fingerUp(1);
    scene.frames();
    scene.input.tap(2, {150, 150});
    scene.frames();
    CHECK(begins.count == 1);
    CHECK(ends.count == 0);
    overlay.setInputEnabled(true);
    scene.input.tap(3, {150, 150});
    scene.frames();
    CHECK(begins.count == 2);
}

TEST_CASE("input: touching a widget or anything in it resets its idle time")
{
    Scene scene;
    auto& outer = scene.box(100, 100, 200, 200);
    auto* inner = new Widget(&outer);
    style(*inner, "width: 100px; height: 100px;");
    scene.frames(10, 0.1);
    CHECK(outer.idleSeconds() == doctest::Approx(1.0));
    scene.input.fingerDown(1, {150, 150});
    scene.frames(10, 0.1);
    CHECK(outer.idleSeconds() == 0.0);
    CHECK(inner->idleSeconds() == 0.0);
    scene.input.fingerUp(1);
    scene.frames(3, 0.1);
    CHECK(outer.idleSeconds() == doctest::Approx(0.2));
    auto& late = scene.box(0, 0, 10, 10);
    CHECK(late.idleSeconds() == 0.0);
}

// ---- Fingers one by one ------------------------------------------------------------------------------------------------

TEST_CASE("input: each finger's coming and leaving is an event of the widget it hit, with its id and the place")
{
    Scene scene;
    auto& outer = scene.box(100, 100, 200, 200, "movable: true;");
    auto* inner = new Widget(&outer);
    style(*inner, "width: 100px; height: 100px; scale: 2;");
    EventCount outerDowns(outer, "finger-down");
    EventCount downs(*inner, "finger-down");
    EventCount ups(*inner, "finger-up");
    scene.input.fingerDown(7, {120, 140});
    scene.frames();
    REQUIRE(downs.count == 1);
    CHECK(downs.last.readInt64() == 7);
    CHECK(downs.last.readFloat32() == near(10));
    CHECK(downs.last.readFloat32() == near(20));
    scene.input.fingerDown(8, {130, 140});
    scene.frames();
    CHECK(downs.count == 2);
    scene.input.fingerUp(7);
    scene.frames();
    REQUIRE(ups.count == 1);
    CHECK(ups.last.readInt64() == 7);
    scene.input.fingerCancel(8);
    scene.frames();
    CHECK(ups.count == 2);
    CHECK(downs.count == 2);
    CHECK(outerDowns.count == 0);
}

TEST_CASE("input: a widget that holds its fingers keeps them from what carries it, and each such widget on its own")
{
    Scene scene;
    auto& sheet = scene.box(100, 100, 300, 200, "movable: true; rotatable: true;");
    Widget* keys[2];
    for (int i = 0; i < 2; ++i) {
        keys[i] = new Widget(&sheet);
        style(*keys[i],
              QStringLiteral("position: absolute; left: %1px; top: 50px; width: 100px; height: 100px;").arg(i * 150).toUtf8());
        keys[i]->setHoldsFingers(true);
    }
    EventCount first(*keys[0], "interaction-begin");
    EventCount second(*keys[1], "interaction-begin");
    const Vector2f before = sheet.location();
    scene.input.fingerDown(1, {150, 200});
    scene.input.fingerDown(2, {300, 200});
    scene.frames();
    CHECK(first.count == 1);
    CHECK(second.count == 1);
    scene.input.fingerMove(1, {190, 260});
    scene.input.fingerMove(2, {380, 100});
    scene.frames(2);
    CHECK(sheet.location() == before);
    CHECK(sheet.rotation() == 0.f);
    CHECK_FALSE(sheet.isHeld());

    // The sheet itself is moved as before, by a finger beside the keys.
    scene.input.fingerDown(3, {120, 120});
    scene.frames();
    scene.input.fingerMove(3, {170, 120});
    scene.frames();
    CHECK(sheet.location() == before + Vector2f(50.f, 0.f));
}

// ---- Transitions -------------------------------------------------------------------------------------------------------

TEST_CASE("input: a finger ends what a style sheet moves, where it shows")
{
    auto& styles = Cascara::StyleEngine::instance();
    styles.addStyleSheet(
        QStringLiteral(".moving { location: 0px 0px; transition: location 1s linear } .moving.away { location: 400px 0px }"),
        QStringLiteral("test.css"));
    {
        Scene scene;
        auto& widget = scene.box(0, 0, 100, 100, "movable: true;");
        widget.addCSSClass("moving");
        scene.frames(2);
        widget.addCSSClass("away");
        scene.frames(1, 0.25);
        REQUIRE(widget.location().x == near(100));
        scene.input.fingerDown(1, {150, 50});
        scene.frames(1, 0.0);
        scene.frames(4, 0.25);
        CHECK(widget.location().x == near(100));
        CHECK_FALSE(styles.isMoving());
        scene.input.fingerUp(1);
        scene.frames();
    }
    styles.clearStyleSheets();
}
