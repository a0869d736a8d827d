#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/DropListener.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <cmath>
#include <stdexcept>

using Bedrock::IntrusivePtr;
using Bedrock::makeIntrusive;
using Tavola::DropEvent;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
constexpr auto kHover = DropEvent::Hover;
constexpr auto kValidHover = DropEvent::ValidHover;
constexpr auto kLeave = DropEvent::Leave;
constexpr auto kDrop = DropEvent::Drop;
using Types = std::vector<std::uint32_t>;

/// Accepts drops, and records the events it receives.
class Bin final : public Trellis::Widget, public Tavola::DropListener
{
public:
    explicit Bin(Trellis::Widget* parent, Vector2f location, Vector2f size = {300.f, 300.f}) : Trellis::Widget(parent)
    {
        setCSSType("Bin");
        setLocation(location);
        setSize(size);
    }
    bool dropEvent(const DropEvent& event) override
    {
        types.push_back(event.type);
        positions.push_back(event.position);
        widgets.push_back(event.widget ? event.widget->id() : 0);
        return answer ? answer(event) : true;
    }
    bool isInside(Vector2f point) const override { return insideEverywhere || Trellis::Widget::isInside(point); }

    Types types;
    std::vector<Vector2f> positions;
    std::vector<long> widgets;
    std::function<bool(const DropEvent&)> answer;
    bool insideEverywhere = false;
};

/// Repeated hovers as one.
Types compact(const Types& types)
{
    Types shown;
    for (const std::uint32_t type : types)
        if (shown.empty() || shown.back() != type)
            shown.push_back(type);
    return shown;
}

bool isNear(Vector2f a, Vector2f b)
{
    return (a - b).length() < 0.01f;
}

IntrusivePtr<Bin> addBin(Trellis::Widget& parent, Vector2f location, Vector2f size = {300.f, 300.f})
{
    return makeIntrusive<Bin>(&parent, location, size);
}

/// A movable card of 100 x 100 pixels, which stays where it is let go.
IntrusivePtr<Tavola::ContentWidget> addCard(Trellis::Widget& parent, Vector2f location)
{
    auto card = makeIntrusive<Tavola::ContentWidget>(&parent);
    card->setLocation(location);
    card->setSize({100.f, 100.f});
    dynamic_cast<Facet::AttributeT<bool>&>(*card->attribute("inertia")).setValue(false);
    return card;
}

/// A listener of 300 x 300 pixels at (600, 300), and a card of 100 x 100 at (100, 100).
struct BinAndCard
{
    TestHost host;
    const IntrusivePtr<Bin> bin = addBin(host.mainWidget(), {600.f, 300.f});
    const IntrusivePtr<Tavola::ContentWidget> card = addCard(host.mainWidget(), {100.f, 100.f});
};
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: a drag over a listener hovers, and letting go drops")
{
    host.drag(1, {150.f, 150.f}, {700.f, 400.f});
    REQUIRE(bin->types == Types{kValidHover});
    CHECK(isNear(bin->positions.back(), {100.f, 100.f}));
    CHECK(bin->widgets.back() == card->id());

    host.input.fingerUp(1);
    host.frame(0.0);
    REQUIRE(bin->types == Types{kValidHover, kDrop});
    CHECK(isNear(bin->positions.back(), {100.f, 100.f}));
    CHECK(bin->widgets.back() == card->id());
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: every movement over the listener is an event, a rest is not")
{
    host.drag(1, {150.f, 150.f}, {700.f, 400.f});
    const auto before = bin->types.size();
    host.frames(5);
    CHECK(bin->types.size() == before);
    host.input.fingerMove(1, {720.f, 400.f});
    host.frame();
    REQUIRE(bin->types.size() == before + 1);
    CHECK(isNear(bin->positions.back(), {120.f, 100.f}));
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: held by two fingers a widget hovers without being ready to drop")
{
    host.input.fingerDown(1, {120.f, 150.f});
    host.input.fingerDown(2, {180.f, 150.f});
    host.frame();
    host.input.fingerMove(1, {720.f, 400.f});
    host.input.fingerMove(2, {780.f, 400.f});
    host.frame();
    CHECK(bin->types == Types{kHover});
    CHECK(isNear(bin->positions.back(), {150.f, 100.f}));

    host.input.fingerUp(2);
    host.input.fingerMove(1, {730.f, 400.f});
    host.frame();
    CHECK(compact(bin->types) == Types{kHover, kValidHover});

    host.input.fingerUp(1);
    host.frame();
    CHECK(compact(bin->types) == Types{kHover, kValidHover, kDrop});
}

TEST_CASE("drag and drop: what fingers do over a listener and beside it")
{
    struct Row
    {
        const char* what;
        std::function<void(BinAndCard&)> act;
        Types types;
    };
    const Vector2f start{150.f, 150.f};
    const Vector2f over{700.f, 400.f};
    const Row rows[] = {
        {"let go over it", [&](BinAndCard& t) { t.host.dragAndDrop(1, start, over, 1); }, {kValidHover, kDrop}},
        {"moved off it, on, and let go",
         [&](BinAndCard& t) {
             t.host.drag(1, start, over);
             for (const float x : {150.f, 200.f}) {
                 t.host.input.fingerMove(1, {x, 150.f});
                 t.host.frame();
             }
             t.host.input.fingerUp(1);
             t.host.frames(3);
         },
         {kValidHover, kLeave}},
        {"cancelled over it",
         [&](BinAndCard& t) {
             t.host.drag(1, start, over, 1);
             t.host.input.fingerCancel(1);
             t.host.frame();
         },
         {kValidHover, kLeave}},
        {"a tap", [&](BinAndCard& t) { t.host.tap(start); }, {}},
        {"let go beside it",
         [&](BinAndCard& t) {
             t.host.dragAndDrop(1, start, {250.f, 150.f});
         },
         {}},
        {"let go over a hidden one",
         [&](BinAndCard& t) {
             t.host.style("Bin { display: none }");
             t.host.dragAndDrop(1, start, over);
         },
         {}},
        {"let go over one that fades out",
         [&](BinAndCard& t) {
             Trellis::FadeAnimator::fadeOutAndDelete(*t.bin, 10.f, 0.f);
             t.host.dragAndDrop(1, start, over);
         },
         {}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        BinAndCard table;
        row.act(table);
        CHECK(table.bin->types == row.types);
    }
}

TEST_CASE("drag and drop: the next listener receives its hover after the one before received Leave")
{
    TestHost host;
    const auto first = addBin(host.mainWidget(), {600.f, 300.f});
    const auto second = addBin(host.mainWidget(), {1200.f, 300.f});
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    std::vector<std::string> order;
    first->answer = [&](const DropEvent& e) {
        order.push_back("first " + std::to_string(e.type));
        return true;
    };
    second->answer = [&](const DropEvent& e) {
        order.push_back("second " + std::to_string(e.type));
        return true;
    };
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    host.input.fingerMove(1, {1300.f, 400.f});
    host.frame();
    CHECK(order == std::vector<std::string>{"first 2", "first 3", "second 2"});
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: a listener that refuses receives no Leave")
{
    bin->answer = [](const DropEvent&) { return false; };
    host.dragAndDrop(1, {150.f, 150.f}, {700.f, 400.f});
    host.frames(30);
    CHECK(compact(bin->types) == Types{kValidHover, kDrop});
    CHECK(isNear(card->location(), {650.f, 350.f})); // nothing was dropped, so nothing goes home
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: a listener that accepted a hover and refuses later receives Leave")
{
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);

    SUBCASE("a further hover")
    {
        bin->answer = [](const DropEvent& e) { return e.type == kLeave; };
        host.input.fingerMove(1, {710.f, 400.f});
        host.frame();
        CHECK(bin->types == Types{kValidHover, kValidHover, kLeave});
    }
    SUBCASE("the drop")
    {
        bin->answer = [](const DropEvent& e) { return e.type != kDrop; };
        host.input.fingerUp(1);
        host.frame();
        CHECK(bin->types == Types{kValidHover, kDrop, kLeave});
    }
}

TEST_CASE("drag and drop: the topmost listener alone is asked")
{
    TestHost host;
    const auto below = addBin(host.mainWidget(), {600.f, 300.f});
    const auto above = addBin(host.mainWidget(), {650.f, 350.f});
    const auto inside = addBin(*above, {20.f, 20.f}, {100.f, 100.f});
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    CHECK(inside->types == Types{kValidHover});
    CHECK(above->types.empty());
    CHECK(below->types.empty());
    below->raiseToTop();
    host.input.fingerMove(1, {701.f, 400.f});
    host.frame();
    CHECK(below->types == Types{kValidHover});
    CHECK(inside->types == Types{kValidHover, kLeave});
}

TEST_CASE("drag and drop: a listener decides itself what lies inside it")
{
    TestHost host;
    const auto bin = addBin(host.mainWidget(), {600.f, 300.f}, {10.f, 10.f});
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    bin->insideEverywhere = true;
    host.drag(1, {150.f, 150.f}, {250.f, 150.f}, 1);
    CHECK(bin->types == Types{kValidHover});
    CHECK(isNear(bin->positions.back(), {-350.f, -150.f}));
}

TEST_CASE("drag and drop: what the dragged widget lies in, and what lies in it, is no target")
{
    TestHost host;
    const auto outer = addBin(host.mainWidget(), {100.f, 100.f}, {800.f, 800.f});
    const auto card = addCard(*outer, {50.f, 50.f});
    const auto inner = addBin(*card, {0.f, 0.f}, {100.f, 100.f});
    host.dragAndDrop(1, {200.f, 200.f}, {500.f, 500.f});
    CHECK(outer->types.empty());
    CHECK(inner->types.empty());
    CHECK(isNear(card->location(), {350.f, 350.f}));
}

TEST_CASE("drag and drop: a tile of one listener can be dropped on another one")
{
    TestHost host;
    const auto from = addBin(host.mainWidget(), {100.f, 100.f});
    const auto to = addBin(host.mainWidget(), {900.f, 100.f});
    const auto card = addCard(*from, {50.f, 50.f});
    from->raiseToTop();
    host.dragAndDrop(1, {200.f, 200.f}, {1000.f, 200.f});
    CHECK(compact(to->types) == Types{kValidHover, kDrop});
    CHECK(from->types.empty());
}

TEST_CASE("drag and drop: two drags at once do not mix")
{
    TestHost host;
    const auto bin = addBin(host.mainWidget(), {600.f, 300.f});
    const auto one = addCard(host.mainWidget(), {100.f, 100.f});
    const auto two = addCard(host.mainWidget(), {100.f, 500.f});
    host.input.fingerDown(1, {150.f, 150.f});
    host.input.fingerDown(2, {150.f, 550.f});
    host.frame();
    host.input.fingerMove(1, {700.f, 400.f});
    host.input.fingerMove(2, {720.f, 420.f});
    host.frame();
    CHECK(bin->types == Types{kValidHover, kValidHover});
    host.input.fingerMove(2, {150.f, 550.f});
    host.frame();
    REQUIRE(bin->types == Types{kValidHover, kValidHover, kLeave});
    CHECK(bin->widgets.back() == two->id());
    host.input.fingerUp(1);
    host.frame();
    REQUIRE(bin->types == Types{kValidHover, kValidHover, kLeave, kDrop});
    CHECK(bin->widgets.back() == one->id());
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: after a drop the widget glides home, and the listener receives Leave on the way")
{
    card->setRotation(0.5f);
    card->setScale(1.5f);
    host.drag(1, {120.f, 150.f}, {700.f, 400.f});
    host.input.fingerUp(1);
    host.frame(0.0);
    const Vector2f dropped = card->location();
    CHECK_FALSE(card->isMoving());

    host.frame(0.05);
    const Vector2f onTheWay = card->location();
    CHECK(onTheWay.x < dropped.x);
    CHECK(onTheWay.x > 100.f);
    CHECK(compact(bin->types) == Types{kValidHover, kDrop});
    host.frame(0.2);
    CHECK(compact(bin->types) == Types{kValidHover, kDrop, kLeave});
    CHECK(bin->widgets.back() == card->id());
    CHECK(card->location().x > 100.f);
    host.frame(0.051);
    CHECK(card->location() == Vector2f(100.f, 100.f));
    CHECK(card->rotation() == 0.5f);
    CHECK(card->scale() == 1.5f);

    const auto heard = bin->types.size();
    host.frames(10);
    CHECK(bin->types.size() == heard);
    CHECK(card->location() == Vector2f(100.f, 100.f));
}

TEST_CASE("drag and drop: a thrown widget does not slide on after its drop")
{
    TestHost host;
    const auto bin = addBin(host.mainWidget(), {600.f, 300.f}, {1000.f, 600.f});
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    dynamic_cast<Facet::AttributeT<bool>&>(*card->attribute("inertia")).setValue(true);
    host.drag(1, {150.f, 150.f}, {900.f, 600.f}, 6);
    bool wasThrown = false;
    bin->answer = [&](const DropEvent& e) {
        if (e.type == kDrop)
            wasThrown = card->isMoving();
        return true;
    };
    host.input.fingerUp(1);
    host.frame();
    CHECK(wasThrown);
    CHECK_FALSE(card->isMoving());
    host.frames(30);
    CHECK(card->location() == Vector2f(100.f, 100.f));
}

TEST_CASE("drag and drop: a widget whose home is inside the listener is left when it is at home")
{
    TestHost host;
    const auto bin = addBin(host.mainWidget(), {50.f, 50.f}, {800.f, 800.f});
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    host.drag(1, {150.f, 150.f}, {500.f, 500.f});
    host.input.fingerUp(1);
    host.frame(0.0);
    host.frame(0.29);
    CHECK(compact(bin->types) == Types{kValidHover, kDrop});
    host.frame(0.02);
    CHECK(compact(bin->types) == Types{kValidHover, kDrop, kLeave});
}

TEST_CASE("drag and drop: a widget that stood by its style stands by its style again")
{
    TestHost host;
    host.style("ContentWidget { position: absolute; left: 40px; top: 60px; width: 100px; height: 100px }");
    const auto bin = addBin(host.mainWidget(), {600.f, 300.f});
    const auto card = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    host.dragAndDrop(1, {90.f, 110.f}, {700.f, 400.f});
    CHECK(compact(bin->types) == Types{kValidHover, kDrop});
    host.frames(30);
    CHECK(isNear(card->location(), {40.f, 60.f}));
    for (const char* name : {"location", "rotation", "scale"}) {
        CAPTURE(name);
        CHECK_FALSE(card->attribute(name)->hasValue(Facet::kUserLayer));
    }
}

TEST_CASE("drag and drop: a new drag ends the glide, keeps the home and leaves by the usual rule")
{
    TestHost host;
    const auto bin = addBin(host.mainWidget(), {600.f, 300.f}, {600.f, 600.f});
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    host.drag(1, {150.f, 150.f}, {900.f, 600.f});
    host.input.fingerUp(1);
    host.frame(0.0);
    host.frame(0.05);
    CHECK(compact(bin->types) == Types{kValidHover, kDrop});

    const Vector2f caught = card->mapToScene({50.f, 50.f});
    host.input.fingerDown(2, caught);
    host.frame();
    host.input.fingerMove(2, caught + Vector2f(50.f, 0.f));
    host.frame();
    CHECK(compact(bin->types) == Types{kValidHover, kDrop, kValidHover});
    host.frame(1.0);
    CHECK(isNear(card->mapToScene({50.f, 50.f}), caught + Vector2f(50.f, 0.f)));
    host.input.fingerMove(2, {300.f, 150.f});
    host.frame();
    CHECK(compact(bin->types) == Types{kValidHover, kDrop, kValidHover, kLeave});

    host.input.fingerMove(2, {900.f, 600.f});
    host.frame();
    host.input.fingerUp(2);
    host.frame();
    host.frame(0.5);
    CHECK(card->location() == Vector2f(100.f, 100.f));
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: a finger that only touches a gliding widget holds it up")
{
    host.drag(1, {150.f, 150.f}, {700.f, 400.f});
    host.input.fingerUp(1);
    host.frame(0.0);
    host.frame(0.1);
    host.input.fingerDown(2, card->mapToScene({50.f, 50.f}));
    host.frame(0.0);
    const Vector2f held = card->location();
    host.frame(1.0);
    CHECK(card->location() == held);
    host.input.fingerUp(2);
    host.frame(0.0);
    host.frame(0.3);
    CHECK(card->location() == Vector2f(100.f, 100.f));
}

TEST_CASE("drag and drop: a dragged widget that leaves the tree is left, and goes")
{
    TestHost host;
    const auto bin = addBin(host.mainWidget(), {600.f, 300.f});
    auto card = addCard(host.mainWidget(), {100.f, 100.f});
    const Bedrock::IntrusiveWeakPtr<Trellis::Widget> weakCard(card.get());
    const long id = card->id();
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    card->removeFromParent();
    card.reset();
    host.frame();
    REQUIRE(bin->types == Types{kValidHover, kLeave});
    CHECK(bin->widgets.back() == id);
    host.frame();
    CHECK_FALSE(weakCard);
    host.input.fingerMove(1, {720.f, 400.f});
    host.frame();
    host.input.fingerUp(1);
    host.frame();
    CHECK(bin->types == Types{kValidHover, kLeave});
}

TEST_CASE("drag and drop: a listener that leaves the tree is left, and goes")
{
    TestHost host;
    auto bin = addBin(host.mainWidget(), {600.f, 300.f});
    const Bedrock::IntrusiveWeakPtr<Trellis::Widget> weakBin(bin.get());
    const auto card = addCard(host.mainWidget(), {100.f, 100.f});
    Types heard;
    bin->answer = [&heard](const DropEvent& e) {
        heard.push_back(e.type);
        return true;
    };
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    bin->removeFromParent();
    bin.reset();
    host.frame();
    CHECK(heard == Types{kValidHover, kLeave});
    host.frame();
    CHECK_FALSE(weakBin);
    host.input.fingerMove(1, {720.f, 400.f});
    host.frame();
    host.input.fingerUp(1);
    host.frames(30);
    CHECK(heard == Types{kValidHover, kLeave});
    CHECK(isNear(card->location(), {670.f, 350.f}));
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: a drag whose finger is taken away ends with a Leave")
{
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    host.app().grabManager()->ungrab(1, card->inputGrabber());
    host.frame();
    CHECK(bin->types == Types{kValidHover, kLeave});
}

TEST_CASE("drag and drop: a listener may take the widget out of the tree, when it hovers, is dropped or leaves")
{
    for (const std::uint32_t when : {kValidHover, kDrop, kLeave}) {
        CAPTURE(when);
        TestHost host;
        const auto bin = addBin(host.mainWidget(), {600.f, 300.f});
        auto card = addCard(host.mainWidget(), {100.f, 100.f});
        const Bedrock::IntrusiveWeakPtr<Trellis::Widget> weakCard(card.get());
        card.reset();
        bin->answer = [&when](const DropEvent& e) {
            if (e.type == when)
                e.widget->removeFromParent();
            return true;
        };
        host.dragAndDrop(1, {150.f, 150.f}, {700.f, 400.f}, 1);
        host.frames(30);
        CHECK(compact(bin->types) == (when == kValidHover ? Types{kValidHover, kLeave} : Types{kValidHover, kDrop, kLeave}));
        host.frame();
        CHECK_FALSE(weakCard);
    }
}

TEST_CASE("drag and drop: a listener may take itself out of the tree, when it is hovered over, dropped on or left")
{
    for (const std::uint32_t when : {kValidHover, kDrop, kLeave}) {
        CAPTURE(when);
        TestHost host;
        auto bin = addBin(host.mainWidget(), {600.f, 300.f});
        const Bedrock::IntrusiveWeakPtr<Trellis::Widget> weakBin(bin.get());
        const auto card = addCard(host.mainWidget(), {100.f, 100.f});
        Types heard;
        bin->answer = [&when, &heard, self = bin.get()](const DropEvent& e) {
            heard.push_back(e.type);
            if (e.type == when)
                self->removeFromParent();
            return true;
        };
        bin.reset();
        host.dragAndDrop(1, {150.f, 150.f}, {700.f, 400.f});
        host.frames(30);
        CHECK_FALSE(weakBin);
        REQUIRE_FALSE(heard.empty());
        CHECK(heard.back() == kLeave);
        CHECK(std::count(heard.begin(), heard.end(), std::uint32_t(kLeave)) == 1);
    }
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: a widget that the listener moved elsewhere in the tree stays there")
{
    bin->answer = [&](const DropEvent& e) {
        if (e.type == kDrop) {
            bin->addChild(e.widget);
            e.widget->setLocation({10.f, 10.f});
        }
        return true;
    };
    host.dragAndDrop(1, {150.f, 150.f}, {700.f, 400.f});
    host.frames(30);
    CHECK(card->parent() == bin.get());
    CHECK(card->location() == Vector2f(10.f, 10.f));
    CHECK(compact(bin->types) == Types{kValidHover, kDrop, kLeave});
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: what a listener throws is an error in the log and a refusal")
{
    bin->answer = [](const DropEvent&) -> bool { throw std::runtime_error("full"); };
    const std::string where = "Bin " + std::to_string(bin->id());
    TestSupport::expectError("DragAndDrop # Drop event 2 on " + where + " failed (full)");
    TestSupport::expectError("DragAndDrop # Drop event 4 on " + where + " failed (full)");
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    host.input.fingerUp(1);
    host.frames(3);
    CHECK(bin->types == Types{kValidHover, kDrop});
}

TEST_CASE("drag and drop: the application may go in the middle of a drag")
{
    TestHost host;
    const auto bin = addBin(*host.app().mainLayer(), {600.f, 300.f});
    const auto card = addCard(*host.app().mainLayer(), {100.f, 100.f});
    host.drag(1, {150.f, 150.f}, {700.f, 400.f}, 1);
    host.destroyTavola();
    host.input.fingerMove(1, {720.f, 400.f});
    host.frame();
    host.input.fingerUp(1);
    host.frame();
    CHECK(bin->types == Types{kValidHover});
}

TEST_CASE_FIXTURE(BinAndCard, "drag and drop: nothing turns the crank when nothing is dragged")
{
    host.frame();
    CHECK(host.app().mainLayer()->operators().empty());
    host.drag(1, {150.f, 150.f}, {700.f, 400.f});
    CHECK(host.app().mainLayer()->operators().size() == 1);
    host.input.fingerUp(1);
    host.frames(30);
    CHECK(host.app().mainLayer()->operators().empty());
}
