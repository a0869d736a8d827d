#include "DropBin.hpp"
#include "LogCapture.hpp"

#include <doctest/doctest.h>

#include <stdexcept>

// Drags that end because something goes, and what listeners do meanwhile.

using DragTests::addBin;
using DragTests::addCard;
using DragTests::Bin;
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
