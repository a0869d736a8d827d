#include "care/DragSigns.hpp"

#include "DragTable.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

namespace
{
constexpr Vecta::Vector2f kOnContent{400.f, 350.f};
}

TEST_CASE("drag signs: what is dragged has a state and a shadow below it, until it is let go")
{
    DragTable table;
    table.host.drag(1, kOnContent, {400.f, 600.f});
    CHECK(table.content->hasPseudoClass("dragging"));
    const auto* const shadow = table.host.mainWidget().findByType("DragShadow");
    REQUIRE(shadow);
    CHECK(table.indexOf(*shadow) + 1 == table.indexOf(*table.content));
    CHECK(shadow->sceneBounds().intersects(table.content->sceneBounds()));
    CHECK(shadow->sceneBounds().bottom() > table.content->sceneBounds().bottom());
    table.host.input.fingerUp(1);
    table.host.frame();
    CHECK_FALSE(table.content->hasPseudoClass("dragging"));
    CHECK_FALSE(table.host.mainWidget().findByType("DragShadow"));
}

TEST_CASE("drag signs: a finger that only holds shows nothing")
{
    DragTable table;
    table.host.input.fingerDown(1, kOnContent);
    table.host.frames(5);
    CHECK_FALSE(table.content->hasPseudoClass("dragging"));
    CHECK_FALSE(table.host.mainWidget().findByType("DragShadow"));
    CHECK_FALSE(table.space->hasCSSClass("would-take"));
}

TEST_CASE("drag signs: every space that would take what is dragged shows it at once, without an event to it")
{
    DragTable table;
    table.host.drag(1, kOnContent, {400.f, 600.f});
    CHECK(table.space->hasCSSClass("would-take"));
    CHECK(table.area->events == 0);
    CHECK_FALSE(table.space->hasPseudoClass("valid-hover"));
    CHECK_FALSE(table.content->hasPseudoClass("valid-drop"));
    table.host.input.fingerUp(1);
    table.host.frame();
    CHECK_FALSE(table.space->hasCSSClass("would-take"));
}

TEST_CASE("drag signs: a space that takes nothing, and content that cannot be collected, show nothing")
{
    DragTable table;
    SUBCASE("the space accepts no drops")
    {
        table.area->acceptDrops.setValue(false, Facet::kUserLayer);
    }
    SUBCASE("the content has no source")
    {
        table.sources.front()->setValue(QString(), Facet::kUserLayer);
    }
    table.host.drag(1, kOnContent, {400.f, 600.f});
    CHECK(table.content->hasPseudoClass("dragging"));
    CHECK_FALSE(table.space->hasCSSClass("would-take"));
}

TEST_CASE("drag signs: content that stands for other files can be collected, too")
{
    DragTable table;
    table.sources.front()->setValue(QString(), Facet::kUserLayer);
    const Facet::AttributeT<QStringList> files(table.content, "source-tessel-urls", QStringList{QStringLiteral("a.pdf")});
    table.host.drag(1, kOnContent, {400.f, 600.f});
    CHECK(table.space->hasCSSClass("would-take"));
}

TEST_CASE("drag signs: a space that opens during a drag shows it, too")
{
    DragTable table;
    table.host.drag(1, kOnContent, {400.f, 600.f});
    Trellis::Widget& second = table.add("space", {700.f, 600.f});
    const auto area = Bedrock::makeIntrusive<DropArea>(&second);
    area->postConstruct();
    table.host.frame();
    CHECK(second.hasCSSClass("would-take"));
}

TEST_CASE("drag signs: a tile that has left its area is outside, and what holds it lies above other spaces")
{
    DragTable table;
    Trellis::Widget& tile = table.addTile();
    Trellis::Widget& other = table.add("space", {700.f, 300.f});
    REQUIRE(table.indexOf(other) > table.indexOf(*table.space));
    table.host.drag(1, tile.mapToScene({30.f, 30.f}), {1400.f, 330.f});
    CHECK(tile.hasPseudoClass("dragging"));
    CHECK_FALSE(tile.hasPseudoClass("outside"));
    CHECK(table.indexOf(*table.space) > table.indexOf(other));
    table.host.input.fingerMove(1, {900.f, 500.f});
    table.host.frame();
    CHECK(tile.hasPseudoClass("outside"));
    CHECK_FALSE(table.space->hasCSSClass("would-take"));
    table.host.input.fingerMove(1, {1300.f, 400.f});
    table.host.frame();
    CHECK_FALSE(tile.hasPseudoClass("outside"));
    table.host.input.fingerMove(1, {900.f, 500.f});
    table.host.frame();
    table.host.input.fingerUp(1);
    table.host.frame();
    CHECK_FALSE(tile.hasPseudoClass("outside"));
    CHECK_FALSE(tile.hasPseudoClass("dragging"));
}

TEST_CASE("drag signs: a tile raises what it was taken from when its drag begins, and not again")
{
    DragTable table;
    Trellis::Widget& tile = table.addTile();
    Trellis::Widget& other = table.add("space", {700.f, 300.f});
    table.host.drag(1, tile.mapToScene({30.f, 30.f}), {1400.f, 330.f});
    REQUIRE(table.indexOf(*table.space) > table.indexOf(other));
    other.raiseToTop();
    table.host.input.fingerMove(1, {1300.f, 400.f});
    table.host.frames(3);
    CHECK(table.indexOf(*table.space) < table.indexOf(other));
}

TEST_CASE("drag signs: what leaves the table during its drag leaves no shadow")
{
    DragTable table;
    table.host.drag(1, kOnContent, {400.f, 600.f});
    table.content->removeFromParent();
    table.host.frame();
    CHECK_FALSE(table.host.mainWidget().findByType("DragShadow"));
}

TEST_CASE("drag signs: a space that fades away would take nothing")
{
    DragTable table;
    Trellis::FadeAnimator::fadeOutAndDelete(*table.space, 10.f, 0.f);
    table.host.drag(1, kOnContent, {400.f, 600.f});
    CHECK_FALSE(table.space->hasCSSClass("would-take"));
}
