#include "Scene.hpp"

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

TEST_CASE("hit test: a finger touches the widget that shows at its place and accepts it")
{
    // Two siblings, of which the second lies on top, and a child of the second.
    struct Tap
    {
        Vecta::Vector2f place;
        const char* touched; ///< "" for none
    };
    struct Row
    {
        std::string name;
        const char* below;
        const char* above;
        const char* child;
        std::vector<Tap> taps;
    };
    const char* const kBelow = "left: 100px; top: 100px; width: 100px; height: 100px;";
    const char* const kAbove = "left: 150px; top: 100px; width: 100px; height: 100px;";
    const char* const kNone = "display: none;";
    const Row rows[] = {
        {"the topmost sibling", kBelow, kAbove, kNone, {{{175, 150}, "above"}, {{125, 150}, "below"}, {{275, 150}, ""}}},
        {"a child before its parent, also where it stands out of it",
         kNone,
         kAbove,
         "left: 80px; top: 0; width: 100px; height: 50px;",
         {{{240, 120}, "child"}, {{300, 120}, "child"}, {{170, 120}, "above"}}},
        {"hidden overflow not outside the widget",
         kNone,
         "left: 150px; top: 100px; width: 100px; height: 100px; overflow: hidden;",
         "left: 80px; top: 0; width: 100px; height: 50px;",
         {{{300, 120}, ""}, {{240, 120}, "child"}}},
        {"what input passes through is not touched, but its child is",
         kBelow,
         "left: 100px; top: 100px; width: 100px; height: 100px; input-transparent: true;",
         "left: 0; top: 0; width: 50px; height: 50px;",
         {{{180, 180}, "below"}, {{120, 120}, "child"}}},
        {"a hidden widget not, nor what is in it",
         kNone,
         "left: 100px; top: 100px; width: 100px; height: 100px; display: none;",
         "left: 0; top: 0; width: 50px; height: 50px;",
         {{{100, 100}, ""}, {{120, 120}, ""}}},
        {"a transparent widget not, nor what is in it",
         kNone,
         "left: 100px; top: 100px; width: 100px; height: 100px; opacity: 0;",
         "left: 0; top: 0; width: 50px; height: 50px;",
         {{{100, 100}, ""}, {{120, 120}, ""}}},
        {"one scaled to nothing not, nor what is in it",
         kNone,
         "left: 100px; top: 100px; width: 100px; height: 100px; scale: 0;",
         "left: 0; top: 0; width: 50px; height: 50px;",
         {{{100, 100}, ""}, {{120, 120}, ""}}},
        {"a turned and scaled widget where it shows",
         kNone,
         "left: 200px; top: 100px; width: 50px; height: 50px; rotation: 45deg; scale: 2;",
         kNone,
         {{{200, 230}, "above"}, {{140, 171}, "above"}, {{140, 110}, ""}, {{260, 230}, ""}}},
        {"the main layer never", kNone, kNone, kNone, {{{500, 500}, ""}}},
    };
    for (const Row& row : rows) {
        INFO(row.name);
        Scene scene;
        std::string touched;
        const auto make = [&](Widget& parent, const char* name, const char* declarations) -> Widget& {
            auto* widget = new Widget(&parent);
            style(*widget, (std::string("position: absolute; ") + declarations).c_str());
            widget->eventAddListener("interaction-begin", [&touched, name] { touched += name; });
            return *widget;
        };
        scene.root().eventAddListener("interaction-begin", [&touched] { touched += "root"; });
        make(scene.root(), "below", row.below);
        make(make(scene.root(), "above", row.above), "child", row.child);
        for (const Tap& tap : row.taps) {
            CAPTURE(tap.place.x);
            CAPTURE(tap.place.y);
            touched.clear();
            scene.input.tap(1, tap.place);
            scene.frames();
            CHECK(touched == tap.touched);
        }
    }
}

TEST_CASE("hit test: a sibling that is raised is touched from then on")
{
    Scene scene;
    auto& below = scene.box(100, 100, 100, 100);
    scene.box(150, 100, 100, 100);
    EventCount begins(below, "interaction-begin");
    scene.input.tap(1, {175, 150});
    scene.frames();
    CHECK(begins.count == 0);
    below.raiseToTop();
    scene.input.tap(1, {175, 150});
    scene.frames();
    CHECK(begins.count == 1);
}

TEST_CASE("hit test: a widget may refuse, and the one below is asked")
{
    Scene scene;
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

TEST_CASE("hit test: a card is not given to the main layer")
{
    Scene scene;
    EventCount downs(scene.root(), "marker-down");
    scene.input.markerDown(1001, {500, 500});
    scene.frames();
    CHECK(downs.count == 0);
}
