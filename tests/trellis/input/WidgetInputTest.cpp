#include "TestScene.hpp"

#include <Trellis/GrabManager.hpp>

#include <cmath>

using Bedrock::IntrusiveWeakPtr;
using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

// ---- Taps --------------------------------------------------------------------------------------------------------------

TEST_CASE("input: a tap reaches the widget under the finger, with the place in its coordinates")
{
    TestScene scene;
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
    TestScene scene;
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

TEST_CASE("input: a finger that trembles within the tap distance still taps, and moves nothing")
{
    TestScene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    EventCount taps(widget, "single-tap");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {158, 158});
    scene.frames();
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(taps.count == 1);
    CHECK_POINT(widget.location(), 100, 100);
}

TEST_CASE("input: a finger that went further is no tap, even when it comes back")
{
    TestScene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    EventCount taps(widget, "single-tap");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {170, 150});
    scene.input.fingerMove(1, {150, 150});
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(taps.count == 0);
}

TEST_CASE("input: a finger that rests too long is no tap")
{
    TestScene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    EventCount taps(widget, "single-tap");
    scene.input.fingerDown(1, {150, 150});
    scene.frames(1, 0.1);
    scene.frames(4, 0.1);
    scene.input.fingerUp(1);
    scene.frames(1, 0.1); // half a second after the touch
    CHECK(taps.count == 0);
    scene.input.fingerDown(2, {150, 150});
    scene.frames(1, 0.1);
    scene.frames(3, 0.1);
    scene.input.fingerUp(2);
    scene.frames(1, 0.09);
    CHECK(taps.count == 1);
}

TEST_CASE("input: two fingers on one widget do not tap it, neither of them")
{
    TestScene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    EventCount taps(widget, "single-tap");
    scene.input.fingerDown(1, {120, 150});
    scene.input.fingerDown(2, {180, 150});
    scene.frames();
    scene.input.fingerUp(1);
    scene.input.fingerUp(2);
    scene.frames();
    CHECK(taps.count == 0);
}

TEST_CASE("input: two fingers on two widgets tap both")
{
    TestScene scene;
    auto& a = scene.box(100, 100, 100, 100);
    auto& b = scene.box(300, 100, 100, 100);
    EventCount tapsA(a, "single-tap");
    EventCount tapsB(b, "single-tap");
    scene.input.tap(1, {150, 150});
    scene.input.tap(2, {350, 150});
    scene.frames();
    CHECK(tapsA.count == 1);
    CHECK(tapsB.count == 1);
}

TEST_CASE("input: a touch that is lost is no tap, but ends the interaction")
{
    TestScene scene;
    auto& widget = scene.box(100, 100, 100, 100);
    EventCount taps(widget, "single-tap");
    EventCount ends(widget, "interaction-end");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerCancel(1);
    scene.frames();
    CHECK(taps.count == 0);
    CHECK(ends.count == 1);
}

TEST_CASE("input: the limits of a tap can be set")
{
    TestScene scene;
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
    TestScene scene;
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

TEST_CASE("input: a widget that does not move hears of its own interactions")
{
    TestScene scene;
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
    TestScene scene;
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

// ---- Dragging ----------------------------------------------------------------------------------------------------------

TEST_CASE("input: a finger drags a movable widget by exactly its own way")
{
    TestScene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true; inertia: false;");
    int changes = 0;
    (void)widget.location();
    widget.attribute("location")->addListener([&] { ++changes; });
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.input.fingerMove(1, {155, 152});
    scene.frames();
    CHECK_POINT(widget.location(), 100, 100);
    scene.input.fingerMove(1, {200, 250});
    scene.frames();
    CHECK_POINT(widget.location(), 150, 200);
    CHECK(changes == 1);
    scene.input.fingerMove(1, {220, 250});
    scene.input.fingerMove(1, {300, 250});
    scene.frames();
    CHECK(changes == 2);
    scene.input.fingerMove(1, {310, 260});
    scene.input.fingerUp(1);
    scene.frames();
    CHECK_POINT(widget.location(), 260, 210);
    CHECK(widget.attribute("location")->hasValue(Facet::kUserLayer));
    scene.frames(5);
    CHECK_POINT(widget.location(), 260, 210);
}

TEST_CASE("input: a drag follows the finger through a turned and scaled parent")
{
    TestScene scene;
    auto& outer = scene.box(300, 300, 400, 400, "scale: 0.5; rotation: 90deg;");
    auto* tile = new Widget(&outer);
    style(*tile, "width: 100px; height: 100px; movable: true;");
    const Vector2f grip = tile->mapToScene({30, 40});
    scene.input.fingerDown(1, grip);
    scene.frames();
    scene.input.fingerMove(1, grip + Vector2f{37, -21});
    scene.frames();
    CHECK_POINT(tile->mapToScene({30, 40}), grip.x + 37, grip.y - 21);
}

TEST_CASE("input: a finger on a child drags the nearest ancestor that moves")
{
    TestScene scene;
    auto& space = scene.box(100, 100, 200, 200, "movable: true;");
    auto* button = new Widget(&space);
    style(*button, "width: 100px; height: 100px;");
    EventCount taps(*button, "single-tap");
    scene.input.fingerDown(1, {120, 120});
    scene.frames();
    scene.input.fingerMove(1, {170, 120});
    scene.frames();
    CHECK_POINT(space.location(), 150, 100);
    CHECK_POINT(button->location(), 0, 0);
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(taps.count == 0);
}

TEST_CASE("input: two fingers move, turn and scale, and both keep their grip")
{
    TestScene scene;
    auto& widget = scene.box(300, 300, 200, 200, "movable: true; rotatable: true; scalable: true;");
    scene.input.fingerDown(1, {350, 400});
    scene.input.fingerDown(2, {450, 400});
    scene.frames();
    const Vector2f gripA = widget.mapFromScene({350, 400});
    const Vector2f gripB = widget.mapFromScene({450, 400});
    scene.input.fingerMove(1, {400, 250});
    scene.input.fingerMove(2, {400, 450});
    scene.frames();
    CHECK(widget.rotation() == near(kPi / 2));
    CHECK(widget.scale() == near(2));
    CHECK_POINT(widget.mapToScene(gripA), 400, 250);
    CHECK_POINT(widget.mapToScene(gripB), 400, 450);
}

TEST_CASE("input: each attribute changes once in a frame of pinching")
{
    TestScene scene;
    auto& widget = scene.box(300, 300, 200, 200, "movable: true; rotatable: true; scalable: true;");
    (void)widget.location();
    int location = 0;
    int rotation = 0;
    int scale = 0;
    widget.attribute("location")->addListener([&] { ++location; });
    widget.attribute("rotation")->addListener([&] { ++rotation; });
    widget.attribute("scale")->addListener([&] { ++scale; });
    scene.input.fingerDown(1, {350, 400});
    scene.input.fingerDown(2, {450, 400});
    scene.frames();
    scene.input.fingerMove(1, {330, 420});
    scene.input.fingerMove(2, {490, 380});
    scene.input.fingerMove(1, {320, 430});
    scene.frames();
    CHECK(location == 1);
    CHECK(rotation == 1);
    CHECK(scale == 1);
}

TEST_CASE("input: a widget does only what it is allowed to")
{
    TestScene scene;
    auto& moves = scene.box(100, 100, 200, 200, "movable: true;");
    auto& turns = scene.box(500, 100, 200, 200, "rotatable: true;");
    const Vector2f centre = turns.centerLocation();
    scene.input.fingerDown(1, {150, 200});
    scene.input.fingerDown(2, {250, 200});
    scene.input.fingerDown(3, {550, 200});
    scene.input.fingerDown(4, {650, 200});
    scene.frames();
    scene.input.fingerMove(1, {200, 150});
    scene.input.fingerMove(2, {200, 350});
    scene.input.fingerMove(3, {600, 150});
    scene.input.fingerMove(4, {600, 250});
    scene.frames();
    CHECK(moves.rotation() == 0.f);
    CHECK(moves.scale() == 1.f);
    CHECK_POINT(moves.location(), 100, 150);
    CHECK(turns.rotation() == near(kPi / 2));
    CHECK(turns.scale() == 1.f);
    CHECK_POINT(turns.centerLocation(), centre.x, centre.y);
}

TEST_CASE("input: the scale stays within its limits")
{
    TestScene scene;
    auto& widget = scene.box(300, 300, 200, 200, "scalable: true; movable: true; min-scale: 0.5; max-scale: 1.5;");
    scene.input.fingerDown(1, {390, 400});
    scene.input.fingerDown(2, {410, 400});
    scene.frames();
    scene.input.fingerMove(1, {200, 400});
    scene.input.fingerMove(2, {600, 400});
    scene.frames();
    CHECK(widget.scale() == near(1.5f));
    scene.input.fingerMove(1, {399, 400});
    scene.input.fingerMove(2, {401, 400});
    scene.frames();
    CHECK(widget.scale() == near(0.5f));
}

TEST_CASE("input: a finger that joins takes part in the movement from where it came down")
{
    TestScene scene;
    auto& widget = scene.box(300, 300, 200, 200, "movable: true; scalable: true;");
    scene.input.fingerDown(1, {350, 400});
    scene.frames();
    scene.input.fingerMove(1, {400, 400});
    scene.frames();
    CHECK_POINT(widget.location(), 350, 300);
    scene.input.fingerDown(2, {500, 400});
    scene.frames();
    CHECK_POINT(widget.location(), 350, 300);
    CHECK(widget.scale() == 1.f);
    scene.input.fingerMove(2, {600, 400});
    scene.frames();
    CHECK(widget.scale() == near(2));
    scene.input.fingerUp(1);
    scene.frames();
    const Vector2f before = widget.location();
    scene.input.fingerMove(2, {610, 400});
    scene.frames();
    CHECK_POINT(widget.location(), before.x + 10, before.y);
}

TEST_CASE("input: three fingers fit the movement that all of them make")
{
    TestScene scene;
    auto& widget = scene.box(300, 300, 200, 200, "movable: true; rotatable: true; scalable: true;");
    const Vector2f down[] = {{320, 320}, {480, 330}, {400, 480}};
    Vector2f grips[3];
    for (int i = 0; i < 3; ++i) {
        grips[i] = widget.mapFromScene(down[i]);
        scene.input.fingerDown(i + 1, down[i]);
    }
    scene.frames();
    for (int i = 0; i < 3; ++i)
        scene.input.fingerMove(i + 1, Vector2f{50, 60} + (down[i] * 0.8f).rotated(0.3f));
    scene.frames();
    CHECK(widget.scale() == near(0.8f));
    CHECK(widget.rotation() == near(0.3f));
    for (int i = 0; i < 3; ++i) {
        const Vector2f expected = Vector2f{50, 60} + (down[i] * 0.8f).rotated(0.3f);
        CHECK_POINT(widget.mapToScene(grips[i]), expected.x, expected.y);
    }
}

TEST_CASE("input: several widgets are dragged and pinched at once, each by its own fingers")
{
    TestScene scene;
    auto& a = scene.box(0, 0, 200, 200, "movable: true; scalable: true;");
    auto& b = scene.box(600, 0, 200, 200, "movable: true;");
    scene.input.fingerDown(1, {50, 100});
    scene.input.fingerDown(2, {150, 100});
    scene.input.fingerDown(3, {700, 100});
    scene.frames();
    scene.input.fingerMove(1, {0, 100});
    scene.input.fingerMove(2, {200, 100});
    scene.input.fingerMove(3, {700, 300});
    scene.frames();
    CHECK(a.scale() == near(2));
    CHECK_POINT(b.location(), 600, 200);
}

TEST_CASE("input: a tile held inside a space that is dragged stays under its finger")
{
    TestScene scene;
    auto& space = scene.box(100, 100, 400, 400, "movable: true;");
    auto* tile = new Widget(&space);
    style(*tile, "width: 100px; height: 100px; movable: true;");
    scene.input.fingerDown(1, {150, 150}); // tile
    scene.input.fingerDown(2, {400, 400}); // space
    scene.frames();
    scene.input.fingerMove(1, {170, 150});
    scene.input.fingerMove(2, {500, 450});
    scene.frames();
    CHECK_POINT(space.location(), 200, 150);
    CHECK_POINT(tile->mapToScene({50, 50}), 170, 150);
    scene.input.fingerMove(2, {520, 450});
    scene.frames();
    CHECK_POINT(tile->mapToScene({50, 50}), 170, 150);
}

// ---- Widgets go while they are touched -----------------------------------------------------------------------------------

TEST_CASE("input: a widget may be deleted by its own events, or delete sibling and parent")
{
    for (const char* event : {"interaction-begin", "finger-down", "finger-up", "interaction-end", "single-tap"}) {
        for (const int victim : {0, 1, 2}) {
            CAPTURE(event);
            CAPTURE(victim);
            TestScene scene;
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
    TestScene scene;
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
    TestScene scene;
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

// ---- Who is not touched ------------------------------------------------------------------------------------------------

TEST_CASE("input: with input switched off neither the widget nor its children are touched, and held ones let go")
{
    TestScene scene;
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
    TestScene scene;
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

TEST_CASE("input: each finger's coming and going is told to the widget it hit, with its id and the place")
{
    TestScene scene;
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
    TestScene scene;
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
