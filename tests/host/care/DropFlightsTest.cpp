#include "care/DropFlights.hpp"

#include "DragTable.hpp"

#include <doctest/doctest.h>

namespace
{
constexpr Vecta::Vector2f kOnTile{400.f, 350.f};
constexpr Vecta::Vector2f kOnSpace{1500.f, 600.f};

Trellis::Widget* flying(DragTable& table)
{
    return table.host.ui().overlayWidget()->findByType("FlyingPicture");
}
}

TEST_CASE("drop flights: in the frame of the drop a picture of the content is at the finger, and 0.3 s later at its tile")
{
    DragTable table;
    table.host.drag(1, kOnTile, kOnSpace);
    CHECK_FALSE(flying(table));
    table.host.input.fingerUp(1);
    table.host.frame();
    REQUIRE(flying(table));
    const Trellis::Widget& tile = *table.area->children().back();
    const auto center = [&] { return flying(table)->mapToScene(flying(table)->size() / 2.f); };
    CHECK((center() - kOnSpace).length() < 60.f);
    table.host.frames(15);
    REQUIRE(flying(table));
    CHECK((center() - tile.mapToScene(tile.size() / 2.f)).length() < 30.f);
    CHECK(flying(table)->width() < 80.f);
    table.host.frames(5);
    CHECK_FALSE(flying(table));
}

TEST_CASE("drop flights: the picture begins as large as the content is shown")
{
    DragTable table;
    table.content->setScale(2.f);
    table.host.drag(1, kOnContent, kOnSpace);
    table.host.input.fingerUp(1);
    table.host.frame();
    REQUIRE(flying(table));
    CHECK(flying(table)->width() > 330.f); // of 400, one frame on its way to 60
}

TEST_CASE("drop flights: the content comes home below what covered it before, and below the space that took it")
{
    DragTable table;
    Trellis::Widget& cover = table.add("content", {450.f, 380.f});
    Trellis::Widget& later = table.add("content", {700.f, 800.f});
    table.host.frame();
    table.host.drag(1, kOnTile, kOnSpace);
    REQUIRE(table.indexOf(*table.content) > table.indexOf(cover));
    table.host.input.fingerUp(1);
    table.host.frame();
    CHECK(table.indexOf(*table.content) < table.indexOf(*table.space));
    CHECK(table.indexOf(*table.content) < table.indexOf(cover));
    CHECK(table.indexOf(*table.space) < table.indexOf(cover));
    CHECK(table.indexOf(cover) < table.indexOf(later));
    table.host.frames(30);
    CHECK(table.content->location() == Vecta::Vector2f(300.f, 300.f));
}

TEST_CASE("drop flights: a space below the content before the drag covers it after the drop, and what lay below stays there")
{
    DragTable table;
    Trellis::Widget& ground = table.add("content", {300.f, 700.f});
    ground.lowerToBottom();
    table.space->lowerToBottom();
    ground.lowerToBottom();
    table.host.frame();
    table.host.dragAndDrop(1, kOnTile, kOnSpace);
    CHECK(table.indexOf(ground) < table.indexOf(*table.content));
    CHECK(table.indexOf(*table.content) < table.indexOf(*table.space));
}

TEST_CASE("drop flights: nothing flies where the drop is refused, or where nothing takes it")
{
    DragTable table;
    SUBCASE("refused")
    {
        table.area->refuses = true;
        table.host.dragAndDrop(1, kOnTile, kOnSpace);
    }
    SUBCASE("beside the space")
    {
        table.host.dragAndDrop(1, kOnTile, {800.f, 800.f});
    }
    CHECK_FALSE(flying(table));
    CHECK(table.indexOf(*table.content) > table.indexOf(*table.space));
}

TEST_CASE("drop flights: nothing flies where a drop is refused while another finger hovers there")
{
    DragTable table;
    table.addTile();
    const Trellis::Widget& second = table.add("content", {300.f, 600.f});
    table.host.drag(1, kOnTile, kOnSpace);
    table.host.drag(2, second.mapToScene({50.f, 20.f}), {1520.f, 620.f});
    table.area->refuses = true;
    table.host.input.fingerUp(2);
    table.host.input.fingerMove(1, kOnSpace + Vecta::Vector2f(5.f, 0.f));
    table.host.frame();
    REQUIRE(table.space->hasPseudoClass("valid-hover"));
    CHECK_FALSE(flying(table));
}

TEST_CASE("drop flights: with reduced motion nothing flies, and the content lies below the space all the same")
{
    DragTable table;
    table.host.app().mainLayer()->setPseudoClass("reduced-motion", true);
    table.host.dragAndDrop(1, kOnTile, kOnSpace);
    CHECK_FALSE(flying(table));
    CHECK(table.indexOf(*table.content) < table.indexOf(*table.space));
}

TEST_CASE("drop flights: what covered the content covers it again also where the space lies above both")
{
    DragTable table;
    Trellis::Widget& cover = table.add("content", {450.f, 380.f});
    table.space->raiseToTop();
    table.host.frame();
    table.host.dragAndDrop(1, kOnContent, kOnSpace);
    CHECK(table.indexOf(*table.content) < table.indexOf(cover));
    CHECK(table.indexOf(cover) < table.indexOf(*table.space));
}
