#include "Scene.hpp"

#include <utility>

using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

TEST_CASE("dragging: a finger drags a movable widget by exactly its own way")
{
    Scene scene;
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

TEST_CASE("dragging: a drag follows the finger through a turned and scaled parent")
{
    Scene scene;
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

TEST_CASE("dragging: a finger on a child drags the nearest ancestor that moves")
{
    Scene scene;
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

TEST_CASE("dragging: two fingers move, turn and scale, and both keep their grip")
{
    Scene scene;
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

TEST_CASE("dragging: each attribute changes once in a frame of pinching")
{
    Scene scene;
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

TEST_CASE("dragging: a widget does only what it is allowed to")
{
    Scene scene;
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

TEST_CASE("dragging: the scale stays within its limits")
{
    Scene scene;
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

TEST_CASE("dragging: a finger that joins takes part in the movement from where it came down")
{
    Scene scene;
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

TEST_CASE("dragging: three fingers fit the movement that all of them make")
{
    Scene scene;
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

TEST_CASE("dragging: several widgets are dragged and pinched at once, each by its own fingers")
{
    Scene scene;
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

TEST_CASE("dragging: a listener that puts a held widget into another, or takes one away, keeps no finger from the others")
{
    Scene scene;
    Widget* boxes[5];
    for (int i = 0; i < 5; ++i) {
        boxes[i] = &scene.box(200.f * float(i), 0, 100, 100, "movable: true;");
        scene.input.fingerDown(i + 1, {50.f + 200.f * float(i), 50});
    }
    scene.frames();
    bool isDone = false;
    boxes[0]->attribute("location")->addListener([&] {
        if (std::exchange(isDone, true))
            return;
        boxes[2]->addChild(*boxes[1]);
        boxes[3]->removeFromParent();
    });
    for (const float y : {150.f, 250.f}) {
        for (int i = 0; i < 5; ++i)
            scene.input.fingerMove(i + 1, {50.f + 200.f * float(i), y});
        scene.frames();
        CHECK(isDone);
        CHECK_POINT(boxes[0]->location(), 0, y - 50);
        CHECK_POINT(boxes[2]->location(), 400, y - 50);
        CHECK_POINT(boxes[4]->location(), 800, y - 50);
        CHECK_FALSE(boxes[1]->isHeld()); // it left the tree on its way
    }
}

TEST_CASE("dragging: a tile held inside a space that is dragged stays under its finger")
{
    Scene scene;
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
