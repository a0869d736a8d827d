#include "DropBin.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

using DragTests::addBin;
using DragTests::addCard;
using DragTests::Bin;
using DragTests::BinAndCard;
using DragTests::compact;
using DragTests::isNear;
using DragTests::kDrop;
using DragTests::kHover;
using DragTests::kLeave;
using DragTests::kValidHover;
using DragTests::Types;
using Tavola::DropEvent;
using TestSupport::TestHost;
using Vecta::Vector2f;

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
