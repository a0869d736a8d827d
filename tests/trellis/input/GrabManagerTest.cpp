#include "Scene.hpp"

#include <LogCapture.hpp>

#include <Trellis/GrabManager.hpp>
#include <Trellis/InputGrabber.hpp>

#include <stdexcept>

using Bedrock::IntrusiveWeakPtr;
using Tactile::Marker;
using Trellis::GrabManager;
using Trellis::Widget;
using namespace TrellisTest;

namespace
{
/// Logs the cards that it receives.
class Tray final : public Widget
{
public:
    explicit Tray(Widget* parent) : Widget(parent) {}
    void markerDown(Marker marker, GrabManager& grabManager) override
    {
        log.push_back("down " + std::to_string(marker.code()));
        heldWhenDown = grabManager.grabber(marker.id()) == &inputGrabber();
        Widget::markerDown(marker, grabManager);
        if (removesItself)
            removeFromParent();
    }
    void markerUp(Marker marker, GrabManager& grabManager) override
    {
        log.push_back("up " + std::to_string(marker.code()));
        Widget::markerUp(marker, grabManager);
        if (removesItself)
            removeFromParent();
    }
    std::vector<std::string> log;
    bool heldWhenDown = false;
    bool removesItself = false;
};

Tray& tray(Scene& scene, float x)
{
    auto* widget = new Tray(scene.app.mainLayer().get());
    style(*widget, ("position: absolute; top: 100px; width: 100px; height: 100px; left: " + std::to_string(x) + "px;").c_str());
    return *widget;
}

using Log = std::vector<std::string>;
}

TEST_CASE("grabs: a card is given to the widget it lies on, until it leaves")
{
    Scene scene;
    auto& a = tray(scene, 100);
    GrabManager& grabs = *scene.app.grabManager();
    EventCount downs(a, "marker-down");
    EventCount ups(a, "marker-up");
    const auto id = scene.input.markerDown(1001, {150, 150});
    scene.frames();
    CHECK(a.log == Log{"down 1001"});
    CHECK(a.heldWhenDown);
    CHECK(grabs.grabber(id) == &a.inputGrabber());
    CHECK(grabs.grabber(id)->host() == static_cast<Facet::Node*>(&a));
    REQUIRE(downs.count == 1);
    CHECK(downs.last.readInt64() == id);
    // A card that moves away keeps its holder.
    scene.input.markerMove(id, {500, 500});
    scene.frames();
    CHECK(grabs.grabber(id) == &a.inputGrabber());
    scene.input.markerUp(id);
    scene.frames();
    CHECK(a.log == Log{"down 1001", "up 1001"});
    REQUIRE(ups.count == 1);
    CHECK(ups.last.readInt64() == id);
    CHECK(grabs.grabber(id) == nullptr);
}

TEST_CASE("grabs: a card is held by the widget that accepted or was given it, which alone sees it leave")
{
    struct Table
    {
        Scene scene;
        Tray& a = tray(scene, 100);
        Tray& b = tray(scene, 300);
        std::int64_t card = 0;
        GrabManager& grabs() { return *scene.app.grabManager(); }
    };
    using Step = void (*)(Table&);
    struct Row
    {
        std::string name;
        std::vector<Step> steps; ///< a frame after each
        Log a, b;
        char holder = ' '; ///< at the end
    };
    const Step put = [](Table& table) { table.card = table.scene.input.markerDown(1001, {150, 150}); };
    const Step putBeside = [](Table& table) { table.card = table.scene.input.markerDown(1001, {500, 500}); };
    const Step lift = [](Table& table) { table.scene.input.markerUp(table.card); };
    const Step giveToA = [](Table& table) { table.grabs().transferGrab(table.card, table.a.inputGrabber()); };
    const Step giveToB = [](Table& table) { table.grabs().transferGrab(table.card, table.b.inputGrabber()); };
    const Step releaseByA = [](Table& table) { table.grabs().ungrab(table.card, table.a.inputGrabber()); };
    const Step releaseByB = [](Table& table) { table.grabs().ungrab(table.card, table.b.inputGrabber()); };
    const Row rows[] = {
        {"put down", {put}, {"down 1001"}, {}, 'a'},
        {"put down and lifted", {put, lift}, {"down 1001", "up 1001"}, {}},
        {"put down and lifted within one frame",
         {[](Table& table) {
             table.scene.input.markerUp(table.scene.input.markerDown(1001, {150, 150}));
         }},
         {"down 1001", "up 1001"},
         {}},
        {"put beside, moved on and lifted",
         {putBeside,
          [](Table& table) {
              table.scene.input.markerMove(table.card, {150, 150});
          },
          lift},
         {},
         {}},
        {"moved off",
         {put,
          [](Table& table) {
              table.scene.input.markerMove(table.card, {350, 150});
          }},
         {"down 1001"},
         {},
         'a'},
        {"given away", {put, giveToB}, {"down 1001"}, {"down 1001"}, 'b'},
        {"given away and lifted", {put, giveToB, lift}, {"down 1001"}, {"down 1001", "up 1001"}},
        {"put beside and given", {putBeside, giveToA}, {"down 1001"}, {}, 'a'},
        {"given after it was lifted", {put, lift, giveToB}, {"down 1001", "up 1001"}, {}},
        {"not there at all", {[](Table& table) { table.grabs().transferGrab(4711, table.a.inputGrabber()); }}, {}, {}},
        {"released by another", {put, releaseByB, lift}, {"down 1001", "up 1001"}, {}},
        {"released by its holder", {put, releaseByA}, {"down 1001"}, {}},
        {"released by its holder and lifted", {put, releaseByA, releaseByA, lift}, {"down 1001"}, {}},
    };
    for (const Row& row : rows) {
        INFO(row.name);
        Table table;
        for (const Step step : row.steps) {
            step(table);
            table.scene.frames();
        }
        CHECK(table.a.log == row.a);
        CHECK(table.b.log == row.b);
        CHECK(table.a.heldWhenDown == !row.a.empty());
        CHECK(table.b.heldWhenDown == !row.b.empty());
        const Trellis::InputGrabber* holder = table.grabs().grabber(table.card);
        CHECK(holder == (row.holder == 'a' ? &table.a.inputGrabber() : row.holder == 'b' ? &table.b.inputGrabber() : nullptr));
    }
}

TEST_CASE("grabs: a transfer calls the new holder before it returns")
{
    Scene scene;
    tray(scene, 100);
    auto& b = tray(scene, 300);
    const auto id = scene.input.markerDown(1001, {150, 150});
    scene.frames();
    scene.app.grabManager()->transferGrab(id, b.inputGrabber());
    CHECK(b.log == Log{"down 1001"});
}

TEST_CASE("grabs: the present sample lists the cards in the order in which they were put down")
{
    Scene scene;
    const auto first = scene.input.markerDown(1003, {500, 500}, 1.f);
    const auto second = scene.input.markerDown(1001, {600, 500});
    scene.frames();
    const auto& markers = scene.app.grabManager()->currentSample().markers;
    REQUIRE(markers.size() == 2);
    CHECK(markers[0].id() == first);
    CHECK(markers[1].id() == second);
    const auto found = scene.app.grabManager()->findMarker(first);
    REQUIRE(found);
    CHECK(found->code() == 1003);
    CHECK(found->rotation() == near(1));
    CHECK_FALSE(scene.app.grabManager()->findMarker(77));
}

TEST_CASE("grabs: a card that was lifted in this frame is found only on request")
{
    Scene scene;
    auto& a = tray(scene, 100);
    const auto id = scene.input.markerDown(1001, {150, 150});
    scene.frames();
    GrabManager& grabs = *scene.app.grabManager();
    bool withLifted = false;
    bool without = true;
    a.eventAddListener("marker-up", [&] {
        withLifted = grabs.findMarker(id, true).has_value();
        without = grabs.findMarker(id, false).has_value();
    });
    scene.input.markerUp(id);
    scene.frames();
    CHECK(withLifted);
    CHECK_FALSE(without);
    CHECK(grabs.findMarker(id, true));
    scene.frames();
    CHECK_FALSE(grabs.findMarker(id, true));
}

TEST_CASE("grabs: a widget that leaves the tree holds nothing any more")
{
    Scene scene;
    auto& a = tray(scene, 100);
    const auto id = scene.input.markerDown(1001, {150, 150});
    scene.frames();
    a.removeFromParent();
    CHECK(scene.app.grabManager()->grabber(id) == nullptr);
    scene.frames();
    scene.input.markerUp(id);
    scene.frames();
}

TEST_CASE("grabs: a widget may delete itself when a card comes or goes")
{
    for (const bool whenDown : {true, false}) {
        Scene scene;
        const IntrusiveWeakPtr<Widget> weak(&tray(scene, 100));
        auto& a = static_cast<Tray&>(*weak.lock());
        a.removesItself = whenDown;
        const auto id = scene.input.markerDown(1001, {150, 150});
        scene.frames();
        if (!whenDown)
            a.removesItself = true;
        scene.input.markerUp(id);
        scene.frames();
        CHECK_FALSE(weak);
    }
}

TEST_CASE("grabs: a finger is held by the widget that it hit, and can be given away")
{
    Scene scene;
    auto& a = scene.box(100, 100, 100, 100, "movable: true;");
    auto& b = scene.box(300, 100, 100, 100, "movable: true;");
    EventCount aEnds(a, "interaction-end");
    EventCount bBegins(b, "interaction-begin");
    EventCount bEnds(b, "interaction-end");
    GrabManager& grabs = *scene.app.grabManager();
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    CHECK(grabs.grabber(1) == &a.inputGrabber());
    grabs.transferGrab(1, b.inputGrabber());
    CHECK(grabs.grabber(1) == &b.inputGrabber());
    CHECK_FALSE(a.isHeld());
    CHECK(b.isHeld());
    scene.input.fingerMove(1, {200, 150});
    scene.frames();
    CHECK_POINT(a.location(), 100, 100);
    CHECK_POINT(b.location(), 350, 100);
    scene.input.fingerUp(1);
    scene.frames();
    CHECK(aEnds.count == 0);
    CHECK(bBegins.count == 1);
    CHECK(bEnds.count == 1);
}

TEST_CASE("grabs: a finger that its holder releases does nothing more")
{
    Scene scene;
    auto& a = scene.box(100, 100, 100, 100, "movable: true;");
    EventCount taps(a, "single-tap");
    scene.input.fingerDown(1, {150, 150});
    scene.frames();
    scene.app.grabManager()->ungrab(1, a.inputGrabber());
    CHECK_FALSE(a.isHeld());
    scene.input.fingerMove(1, {200, 150});
    scene.input.fingerUp(1);
    scene.frames();
    CHECK_POINT(a.location(), 100, 100);
    CHECK(taps.count == 0);
}

TEST_CASE("grabs: input of several sources is one sample")
{
    Scene scene;
    TestSupport::ScriptedInput second;
    scene.app.addInputSource(second);
    auto& a = scene.box(100, 100, 100, 100);
    EventCount taps(a, "single-tap");
    scene.input.fingerDown(7, {500, 500});
    second.fingerDown(3, {510, 500});
    second.tap(4, {150, 150});
    scene.frames();
    CHECK(taps.count == 1);
    const auto& fingers = scene.app.grabManager()->currentSample().fingers;
    REQUIRE(fingers.size() == 2);
    CHECK(fingers[0].id() == 3);
    CHECK(fingers[1].id() == 7);
    scene.app.removeInputSource(second);
    scene.frames();
    CHECK(second.samplesTaken() == 1);
}

TEST_CASE("grabs: a widget that throws when a card comes or goes, or when it is asked, keeps no card from another")
{
    struct Thrower final : Widget
    {
        using Widget::Widget;
        void markerDown(Marker, GrabManager&) override { throw std::runtime_error("down"); }
        void markerUp(Marker, GrabManager&) override { throw 7; }
    };
    struct Asked final : Widget
    {
        using Widget::Widget;
        bool shouldGrab(GrabManager&, Tactile::TrackedObject) const override { throw std::runtime_error("asked"); }
    };
    Scene scene;
    auto& good = tray(scene, 300);
    auto* thrower = new Thrower(scene.app.mainLayer().get());
    style(*thrower, "position: absolute; left: 100px; top: 100px; width: 100px; height: 100px;");
    auto* asked = new Asked(scene.app.mainLayer().get());
    style(*asked, "position: absolute; left: 300px; top: 100px; width: 100px; height: 100px;");
    const auto first = scene.input.markerDown(1, {150, 150});
    const auto second = scene.input.markerDown(2, {350, 150});
    TestSupport::expectError("Application::frame # Widget::markerDown threw (down), the frame goes on");
    for (int cards = 0; cards < 2; ++cards)
        TestSupport::expectError("Application::frame # Widget::shouldGrab threw (asked), the frame goes on");
    scene.frames();
    CHECK(good.log == Log{"down 2"});
    scene.input.markerUp(first);
    scene.input.markerUp(second);
    TestSupport::expectError("Application::frame # Widget::markerUp threw (unknown exception), the frame goes on");
    scene.frames();
    CHECK(good.log == Log{"down 2", "up 2"});
    CHECK(scene.app.frameNumber() == 2);
}
