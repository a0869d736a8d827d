#include "DropBin.hpp"

#include <doctest/doctest.h>

// The way home of a widget that was dropped.

using Bedrock::makeIntrusive;
using DragTests::addBin;
using DragTests::addCard;
using DragTests::BinAndCard;
using DragTests::compact;
using DragTests::isNear;
using DragTests::kDrop;
using DragTests::kLeave;
using DragTests::kValidHover;
using DragTests::Types;
using Tavola::DropEvent;
using TestSupport::TestHost;
using Vecta::Vector2f;

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
