#include "Scene.hpp"

#include <cmath>

using Trellis::Widget;
using Vecta::Vector2f;
using namespace TrellisTest;

namespace
{
/// Drags a widget to the right at a steady speed, and lets go.
void fling(Scene& scene, Vector2f from, float stepPx, int steps = 6, double dtSeconds = kFrameSeconds)
{
    scene.input.fingerDown(1, from);
    scene.frames(1, dtSeconds);
    for (int i = 1; i <= steps; ++i) {
        scene.input.fingerMove(1, from + Vector2f{stepPx * float(i), 0.f});
        scene.frames(1, dtSeconds);
    }
    scene.input.fingerUp(1);
    scene.frames(1, dtSeconds);
}
}

TEST_CASE("motion: a widget that is thrown slides on, slows down and stops")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    fling(scene, {150, 150}, 10);
    CHECK(widget.isMoving());
    float before = widget.location().x;
    scene.frames();
    const float first = widget.location().x - before;
    before = widget.location().x;
    scene.frames();
    const float second = widget.location().x - before;
    CHECK(first > 0.f);
    CHECK(second > 0.f);
    CHECK(second < first);
    scene.frames(300);
    CHECK_FALSE(widget.isMoving());
    CHECK(widget.location().y == near(100));
    const float end = widget.location().x;
    CHECK(end > 200.f);
    scene.frames(10);
    CHECK(widget.location().x == end);
}

TEST_CASE("motion: a throw goes equally far at any frame rate")
{
    float ends[2];
    for (const int rate : {1, 2}) {
        Scene scene;
        auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
        fling(scene, {150, 150}, 8.f / float(rate), 12 * rate, kFrameSeconds / rate);
        scene.frames(400 * rate, kFrameSeconds / rate);
        ends[rate - 1] = widget.location().x;
    }
    CHECK(std::abs(ends[0] - ends[1]) < 0.05f * (ends[0] - 100.f));
}

TEST_CASE("motion: a widget that rests under the finger before it is let go does not slide")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    for (int i = 1; i < 6; ++i) {
        scene.input.fingerMove(1, {150.f + 20.f * float(i), 150});
        scene.frames();
    }
    scene.frames(10);
    scene.input.fingerUp(1);
    scene.frames();
    CHECK_FALSE(widget.isMoving());
}

TEST_CASE("motion: one jump is no throw")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    scene.input.fingerDown(1, {150, 150});
    scene.input.fingerMove(1, {450, 150});
    scene.input.fingerUp(1);
    scene.frames(10);
    CHECK_POINT(widget.location(), 400, 100);
}

TEST_CASE("motion: without inertia a widget stays where it is let go")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true; inertia: false;");
    fling(scene, {150, 150}, 10);
    CHECK_FALSE(widget.isMoving());
    CHECK_POINT(widget.location(), 160, 100);
}

TEST_CASE("motion: a touch ends it")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    fling(scene, {150, 150}, 10);
    const Vector2f centre = widget.centerLocation();
    scene.input.fingerDown(2, centre);
    scene.frames();
    CHECK_FALSE(widget.isMoving());
    const float x = widget.location().x;
    scene.frames(5);
    CHECK(widget.location().x == x);
}

TEST_CASE("motion: stopMotion ends it, also inside the end of the interaction")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    bool wasMoving = false;
    widget.eventAddListener("interaction-end", [&] {
        wasMoving = widget.isMoving();
        widget.attribute("location")->clearValue(Facet::kUserLayer);
        widget.stopMotion();
    });
    fling(scene, {150, 150}, 10);
    CHECK(wasMoving);
    CHECK_FALSE(widget.isMoving());
    scene.frames(5);
    CHECK_POINT(widget.location(), 100, 100);
}

TEST_CASE("motion: a thrown widget keeps its centre on its parent")
{
    Scene scene;
    auto& widget = scene.box(600, 100, 100, 100, "movable: true;");
    fling(scene, {650, 150}, 40);
    scene.frames(300);
    CHECK_FALSE(widget.isMoving());
    CHECK(widget.centerLocation().x == near(1000));
    CHECK(widget.centerLocation().y == near(150));
}

TEST_CASE("motion: a widget let go outside its parent is not pulled back by a throw")
{
    Scene scene;
    auto& frame = scene.box(100, 100, 100, 100);
    auto* tile = new Widget(&frame);
    style(*tile, "width: 50px; height: 50px; movable: true;");
    fling(scene, {125, 125}, 30);
    const float x = tile->location().x;
    CHECK(x >= 180.f);
    scene.frames(60);
    CHECK(tile->location().x == near(x));
}

TEST_CASE("motion: a widget that is taken away while it slides, by a listener to its place, is gone")
{
    Scene scene;
    const Bedrock::IntrusiveWeakPtr<Widget> widget(&scene.box(100, 100, 100, 100, "movable: true;"));
    fling(scene, {150, 150}, 10);
    widget.lock()->attribute("location")->addListener([&] {
        if (const auto strong = widget.lock())
            strong->removeFromParent();
    });
    scene.frames(2);
    CHECK_FALSE(widget);
}

TEST_CASE("motion: a frame without time moves nothing and ends nothing")
{
    Scene scene;
    auto& widget = scene.box(100, 100, 100, 100, "movable: true;");
    fling(scene, {150, 150}, 10);
    const float x = widget.location().x;
    scene.frames(5, 0.0);
    CHECK(widget.location().x == x);
    CHECK(widget.isMoving());
}
