#include "personalspace/PersonalSpaceContentWidget.hpp"

#include "ContentArea.hpp"
#include "LogCapture.hpp"

#include <Trellis/FadeAnimator.hpp>
#include <Trellis/ImageWidget.hpp>

#include <doctest/doctest.h>

#include <utility>

// The tiles of a space's drop area.

using PluginTest::classesOf;
using PluginTest::EventLog;
using PluginTest::line;
using PluginTest::Strings;
using Vecta::Vector2f;
using Area = PluginTest::ContentArea;
using ItemStatus = Area::ItemStatus;

TEST_CASE("tile: a container with the status icon below the preview")
{
    Area area;
    area.addItem();
    REQUIRE(area.tiles().size() == 1);
    CHECK(classesOf(area.tile()) == Strings{"container"});
    REQUIRE(area.tile().children().size() == 2);
    CHECK(dynamic_cast<Trellis::ImageWidget*>(area.tile().children()[0].get()));
    CHECK(classesOf(*area.tile().children()[0]) == Strings{"status-icon"});
    CHECK(dynamic_cast<Trellis::ImageWidget*>(area.tile().children()[1].get()));
    CHECK(classesOf(*area.tile().children()[1]).empty());
}

TEST_CASE("tile: it fades in, 0.4 seconds after a delay of 0.2")
{
    Area area;
    area.addItem();
    CHECK(area.tile().opacity() == 0.f);
    area.host.frame(0.2);
    CHECK(area.tile().opacity() == doctest::Approx(0.0));
    area.host.frame(0.2);
    CHECK(area.tile().opacity() == doctest::Approx(0.5));
    area.host.frame(0.19);
    CHECK(area.tile().opacity() == doctest::Approx(0.975));
    area.host.frame(0.02);
    CHECK(area.tile().opacity() == 1.f);
}

TEST_CASE("tile: it fades in and has its scale when \"content-changed\" is sent")
{
    Area area;
    for (int i = 0; i < 9; ++i)
        area.addItem();
    area.host.frame(1.0);
    std::vector<float> scales;
    float opacity = 1.f;
    area.widget->eventAddListener("empty", [&] { scales.push_back(area.tile(0).scale()); });
    area.widget->eventAddListener("content-changed", [&] {
        scales.push_back(area.tile(0).scale());
        scales.push_back(area.tile(9).scale());
        opacity = area.tile(9).opacity();
    });
    area.addItem();
    // "empty" is sent before the tiles change their scale.
    CHECK(scales == std::vector<float>{1.f / 3.f, 0.25f, 0.25f});
    CHECK(opacity == 0.f);
}

TEST_CASE("tile: it does not fade in yet when the space says whether it is empty")
{
    Area area;
    float opacity = 0.f;
    std::size_t operators = 1;
    area.widget->eventAddListener("empty", [&] {
        opacity = area.tile().opacity();
        operators = area.tile().operators().size();
    });
    area.addItem();
    CHECK(opacity == 1.f);
    CHECK(operators == 0);
    CHECK(area.tile().opacity() == 0.f);
}

TEST_CASE("tile: the space is empty once the last item is gone, also while tiles are still to go")
{
    const auto code = newCode();
    const auto contents = PersonalSpaceContents::personalContent(code);
    // Runs before the area's own listener.
    const auto listener = contents->eventAddListener("item-removed", [&] { contents->removeItems(); });
    Area area(code);
    const long first = area.addItem();
    area.addItem();
    EventLog log;
    log.listen(*area.widget, "empty", EventLog::Payload::Int32);
    contents->removeItem(first);
    CHECK(log.lines == Strings{"empty 1", "empty 1"});
    contents->eventRemoveListener(listener);
}

TEST_CASE("tile: an item that is removed while it is added leaves no tile")
{
    Area area;
    bool remove = true;
    const auto removeAll = [&] {
        if (std::exchange(remove, false))
            area.contents->removeItems();
    };
    EventLog log;
    Strings expected;
    SUBCASE("by a listener of \"empty\"")
    {
        listenToAll(log, *area.widget);
        area.widget->eventAddListener("empty", removeAll);
        expected = {"empty 0", "empty 1", "content-changed", "content-changed"};
    }
    SUBCASE("by a listener of \"content-changed\"")
    {
        listenToAll(log, *area.widget);
        area.widget->eventAddListener("content-changed", removeAll);
        expected = {"empty 0", "content-changed", "empty 1", "content-changed"};
    }
    area.addItem();
    CHECK(log.lines == expected);
    for (const auto* tile : area.tiles())
        CHECK(Trellis::FadeAnimator::isFadingOut(*tile));
    area.host.frames(3, 0.5);
    CHECK(area.tiles().empty());
    area.addItem();
    CHECK(area.tiles().size() == 1);
}

TEST_CASE("tile: an item that an earlier listener of the contents removed again gets none")
{
    const auto code = PluginTest::newCode();
    const auto contents = Area::Contents::personalContent(code);
    bool remove = true;
    const auto listener = contents->eventAddListener("item-added", [&] {
        if (std::exchange(remove, false))
            contents->removeItems();
    });
    Area area(code);
    EventLog log;
    listenToAll(log, *area.widget);
    area.addItem();
    CHECK(area.tiles().empty());
    CHECK(log.lines.empty());
    area.addItem();
    CHECK(area.tiles().size() == 1);
    contents->eventRemoveListener(listener);
}

TEST_CASE("tile: a removed item's tile fades out in 0.2 seconds and is deleted")
{
    Area area;
    const long first = area.addItem();
    const long second = area.addItem();
    area.host.frame(1.0);
    EventLog log;
    listenToAll(log, *area.widget);
    area.contents->removeItem(first);
    CHECK(log.lines == Strings{"empty 0", "content-changed"});
    CHECK(area.tiles().size() == 2);
    CHECK(area.tile().opacity() == 1.f);
    area.host.frame(0.1);
    REQUIRE(area.tiles().size() == 2);
    CHECK(area.tile(0).opacity() == doctest::Approx(0.5));
    CHECK(area.tile(1).opacity() == 1.f);
    area.host.frame(0.09);
    REQUIRE(area.tiles().size() == 2);
    CHECK(area.tile(0).opacity() == doctest::Approx(0.05));
    area.host.frame(0.02);
    area.host.frame();
    CHECK(area.tiles().size() == 1);
    log.lines.clear();
    area.contents->removeItem(second);
    CHECK(log.lines == Strings{"empty 1", "content-changed"});
}

TEST_CASE("tile: after a removal \"empty\" is sent when the tile fades out and before the others are scaled")
{
    Area area;
    for (int i = 0; i < 10; ++i)
        area.addItem();
    const long id = area.contents->items().begin()->first;
    area.host.frame(1.0);
    std::vector<float> scales;
    const auto scaleOfLast = [&] { scales.push_back(area.tile(9).scale()); };
    area.widget->eventAddListener("empty", scaleOfLast);
    area.widget->eventAddListener("empty", [&] {
        CHECK(Trellis::FadeAnimator::isFadingOut(area.tile(0)));
        area.widget->updateStatus(id, ItemStatus::Failed);
    });
    area.widget->eventAddListener("content-changed", scaleOfLast);
    area.contents->removeItem(id);
    CHECK(classesOf(area.tile(0)) == Strings{"container"});
    CHECK(scales == std::vector<float>{0.25f, 1.f / 3.f});
    CHECK(area.tile(0).scale() == 0.25f);
}

TEST_CASE("tile: its scale follows the number of items")
{
    Area area;
    const auto expected = [](int count) {
        if (count <= 9)
            return 1.f / 3.f;
        return count <= 16 ? 1.f / 4.f : count <= 25 ? 1.f / 5.f : 1.f / 6.f;
    };
    for (int count = 1; count <= 26; ++count) {
        area.addItem();
        CAPTURE(count);
        for (const auto* tile : area.tiles())
            CHECK(tile->scale() == doctest::Approx(expected(count)));
    }
    for (int count = 25; count >= 9; count -= 8) {
        while (int(area.contents->items().size()) > count)
            area.contents->removeItem(area.contents->items().rbegin()->first);
        CHECK(area.tile().scale() == doctest::Approx(expected(count)));
    }
}

TEST_CASE("tile: the status shows as a class, whatever it was before")
{
    struct Row
    {
        ItemStatus status;
        Strings classes;
    };
    const std::vector<Row> rows{{ItemStatus::Pending, {"container"}},
                                {ItemStatus::Ready, {"container"}},
                                {ItemStatus::Uploading, {"container"}},
                                {ItemStatus::Uploaded, {"container", "uploaded"}},
                                {ItemStatus::Failed, {"container", "failed"}}};
    Area area;
    const long id = area.addItem();
    for (const Row& before : rows) {
        for (const Row& after : rows) {
            CAPTURE(int(before.status));
            CAPTURE(int(after.status));
            area.contents->setItemStatus(before.status, id);
            CHECK(classesOf(area.tile()) == before.classes);
            area.contents->setItemStatus(after.status, id);
            CHECK(classesOf(area.tile()) == after.classes);
        }
    }
}

TEST_CASE("tile: a preview is loaded into the picture above the icon")
{
    Area area;
    const long id = area.addItem();
    TestSupport::expectWarningStartingWith("ImageWidget # Failed to load image "); // there is no such picture
    area.contents->previewReady(id, "/none/tile.png");
    CHECK(dynamic_cast<Trellis::ImageWidget&>(*area.tile().children()[1]).source() == "/none/tile.png");
    CHECK(dynamic_cast<Trellis::ImageWidget&>(*area.tile().children()[0]).source().isEmpty());
    CHECK(area.host.frameUntil([] { return !TestSupport::loggedLines().empty(); }));
}

TEST_CASE("tile: calls for an item without a tile are ignored")
{
    Area area;
    EventLog log;
    listenToAll(log, *area.widget);
    area.widget->itemRemoved(5);
    area.widget->previewReady(5, "/x");
    area.widget->updateStatus(5, ItemStatus::Failed);
    CHECK(log.lines.empty());
    CHECK(area.tiles().empty());
}

TEST_CASE("tile: released inside the area it returns to its styled place")
{
    Area area;
    area.addItem();
    auto& tile = area.tile();
    tile.setSize({90.f, 90.f});
    const auto styled = tile.location();
    tile.setLocation({200.f, 100.f});
    EventLog log;
    listenToAll(log, *area.widget);
    tile.eventSend("interaction-end");
    CHECK_FALSE(tile.attribute("location")->hasValue(Facet::kUserLayer));
    CHECK(tile.location() == styled);
    CHECK_FALSE(tile.isMoving());
    CHECK(area.contents->items().size() == 1);
    CHECK(log.lines.empty());
}

TEST_CASE("tile: released outside the area it removes its item")
{
    Area area;
    const long id = area.addItem();
    auto& tile = area.tile();
    tile.setSize({90.f, 90.f});
    tile.setLocation({700.f, 100.f});
    EventLog log;
    listenToAll(log, *area.widget);
    area.widget->eventAddListener("before-remove-item", [&] { CHECK(area.contents->items().count(id) == 1); });
    tile.eventSend("interaction-end");
    CHECK(area.contents->items().empty());
    CHECK(log.lines == Strings{line("before-remove-item", id), "empty 1", "content-changed", "widget-removed 77"});
}

TEST_CASE("tile: released across the border it returns, beside the area it removes its item")
{
    struct Row
    {
        const char* where;
        Vector2f location;
        bool returns;
    };
    // The tile shows as 30 by 30; the area is 400 by 250, with the space's margin of 50 above it.
    const Row rows[] = {{"across the right border", {390.f, 100.f}, true}, {"beside the right border", {405.f, 100.f}, false},
                        {"across the left border", {-25.f, 100.f}, true},  {"beside the left border", {-35.f, 100.f}, false},
                        {"across the lower border", {200.f, 240.f}, true}, {"below the lower border", {200.f, 255.f}, false},
                        {"across the upper border", {200.f, -25.f}, true}, {"in the space's margin", {200.f, -40.f}, false},
                        {"across a corner", {395.f, 245.f}, true},         {"beyond the corner", {401.f, 251.f}, false}};
    for (const Row& row : rows) {
        CAPTURE(row.where);
        Area area;
        area.addItem();
        auto& tile = area.tile();
        tile.setSize({90.f, 90.f});
        const auto styled = tile.location();
        tile.setLocation(row.location);
        EventLog log;
        listenToAll(log, *area.widget);
        tile.eventSend("interaction-end");
        CHECK(area.contents->items().size() == (row.returns ? 1u : 0u));
        CHECK(log.lines.empty() == row.returns);
        if (row.returns)
            CHECK(tile.location() == styled);
    }
}

TEST_CASE("tile: releasing one that is fading out has no effect")
{
    Area area;
    const long id = area.addItem();
    const long other = area.addItem();
    const Bedrock::IntrusivePtr<Trellis::Widget> tile(&area.tile());
    tile->setSize({90.f, 90.f});
    tile->setLocation({700.f, 100.f});
    area.contents->removeItem(id);
    EventLog log;
    listenToAll(log, *area.widget);
    tile->eventSend("interaction-end");
    CHECK(log.lines.empty());
    CHECK(area.contents->items().count(other) == 1);
}

TEST_CASE("tile: a finger drags it out of the area, and back inside it returns")
{
    Area area;
    area.host.style(".container { width: 90px; height: 90px; movable: true }");
    area.addItem();
    area.host.frame(1.0);
    const auto centre = [&] { return area.tile().mapToScene(area.tile().size() * 0.5f); };
    const auto styled = area.tile().location();

    area.host.dragAndDrop(1, centre(), {850.f, 550.f});
    REQUIRE(area.contents->items().size() == 1);
    CHECK(area.tile().location() == styled);

    area.host.dragAndDrop(1, centre(), {1500.f, 900.f});
    CHECK(area.contents->items().empty());
    area.host.frames(3, 0.2);
    CHECK(area.tiles().empty());
}
