#include "TestScene.hpp"

using Trellis::Widget;
using namespace TrellisTest;

namespace
{
/// Takes what `wants` says, wherever it lies.
class Picky final : public Widget
{
public:
    using Widget::Widget;
    bool shouldGrab(Trellis::GrabManager&, Tactile::TrackedObject object) const override
    {
        ++asked;
        return wantsMarkers == object.isMarker() && isInside(mapFromScene(object.centerLocation()));
    }
    bool wantsMarkers = false;
    mutable int asked = 0;
};
}

TEST_CASE("hit test: the topmost sibling is touched")
{
    TestScene scene;
    auto& below = scene.box(100, 100, 100, 100);
    auto& above = scene.box(150, 100, 100, 100);
    EventCount belowBegins(below, "interaction-begin");
    EventCount aboveBegins(above, "interaction-begin");
    scene.input.tap(1, {175, 150});
    scene.frames();
    CHECK(aboveBegins.count == 1);
    CHECK(belowBegins.count == 0);
    below.raiseToTop();
    scene.input.tap(1, {175, 150});
    scene.frames();
    CHECK(aboveBegins.count == 1);
    CHECK(belowBegins.count == 1);
}

TEST_CASE("hit test: a child is touched before its parent, also where it stands out of it")
{
    TestScene scene;
    auto& parent = scene.box(100, 100, 100, 100);
    auto* child = new Widget(&parent);
    style(*child, "position: absolute; left: 80px; top: 0; width: 100px; height: 50px;");
    EventCount parentBegins(parent, "interaction-begin");
    EventCount childBegins(*child, "interaction-begin");
    scene.input.tap(1, {190, 120});
    scene.frames();
    scene.input.tap(1, {250, 120});
    scene.frames();
    scene.input.tap(1, {120, 120});
    scene.frames();
    CHECK(childBegins.count == 2);
    CHECK(parentBegins.count == 1);
}

TEST_CASE("hit test: hidden overflow cannot be touched outside the widget")
{
    TestScene scene;
    auto& parent = scene.box(100, 100, 100, 100, "overflow: hidden;");
    auto* child = new Widget(&parent);
    style(*child, "position: absolute; left: 80px; top: 0; width: 100px; height: 50px;");
    EventCount childBegins(*child, "interaction-begin");
    scene.input.tap(1, {250, 120});
    scene.frames();
    CHECK(childBegins.count == 0);
    scene.input.tap(1, {190, 120});
    scene.frames();
    CHECK(childBegins.count == 1);
}

TEST_CASE("hit test: what input passes through is not touched, but its children are")
{
    TestScene scene;
    auto& ground = scene.box(100, 100, 200, 200);
    auto& glass = scene.box(100, 100, 200, 200, "input-transparent: true;");
    auto* child = new Widget(&glass);
    style(*child, "width: 50px; height: 50px;");
    EventCount groundBegins(ground, "interaction-begin");
    EventCount glassBegins(glass, "interaction-begin");
    EventCount childBegins(*child, "interaction-begin");
    scene.input.tap(1, {200, 200});
    scene.frames();
    scene.input.tap(1, {120, 120});
    scene.frames();
    CHECK(groundBegins.count == 1);
    CHECK(glassBegins.count == 0);
    CHECK(childBegins.count == 1);
}

TEST_CASE("hit test: hidden and transparent widgets are not touched, nor what is in them")
{
    for (const char* hidden : {"display: none;", "opacity: 0;", "scale: 0;"}) {
        CAPTURE(hidden);
        TestScene scene;
        auto& parent = scene.box(100, 100, 100, 100, hidden);
        auto* child = new Widget(&parent);
        style(*child, "width: 50px; height: 50px;");
        EventCount begins(*child, "interaction-begin");
        scene.input.tap(1, {100, 100});
        scene.input.tap(2, {120, 120});
        scene.frames();
        CHECK(begins.count == 0);
    }
}

TEST_CASE("hit test: a widget may refuse, and the one below is asked")
{
    TestScene scene;
    auto& below = scene.box(100, 100, 100, 100);
    auto* picky = new Picky(scene.app.mainLayer().get());
    style(*picky, "position: absolute; left: 100px; top: 100px; width: 100px; height: 100px;");
    picky->wantsMarkers = true;
    EventCount begins(below, "interaction-begin");
    scene.input.tap(1, {150, 150});
    scene.frames();
    CHECK(begins.count == 1);
    CHECK(picky->asked == 1);
}

TEST_CASE("hit test: a turned and scaled widget is touched where it shows")
{
    TestScene scene;
    auto& diamond = scene.box(200, 100, 50, 50, "rotation: 45deg; scale: 2;");
    EventCount begins(diamond, "interaction-begin");
    scene.input.tap(1, {200, 230});
    scene.input.tap(2, {140, 171});
    scene.frames();
    CHECK(begins.count == 2);
    scene.input.tap(1, {140, 110});
    scene.input.tap(2, {260, 230});
    scene.frames();
    CHECK(begins.count == 2);
}

TEST_CASE("hit test: the main layer itself is never touched")
{
    TestScene scene;
    EventCount begins(*scene.app.mainLayer(), "interaction-begin");
    scene.input.tap(1, {500, 500});
    scene.input.markerDown(1001, {500, 500});
    scene.frames();
    CHECK(begins.count == 0);
}
