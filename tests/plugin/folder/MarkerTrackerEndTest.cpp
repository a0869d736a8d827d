#include "folder/MarkerTrackerOperator.hpp"

#include "TrackerTable.hpp"

#include <doctest/doctest.h>

#include <string>

// How tracking ends: with the card, a dismissal, or the item.

using PluginTest::kCard;
using PluginTest::near;
using PluginTest::TrackerTable;
using Vecta::Vector2f;

TEST_CASE("lifting: without dismissal the item stays where it is and the tracker ends")
{
    TrackerTable table;
    table.track({true, false});
    table.moveCard({640.f, 400.f});
    const auto location = table.item->location();
    table.lift(table.id);
    CHECK(table.dismissals == 0);
    CHECK(table.tracker->isDone());
    CHECK(table.item->operators().empty());
    CHECK(table.item->location() == location);
    CHECK(table.item->parent() == &table.host.mainWidget());
    // The item does not follow the card that comes back.
    CHECK(table.putDown(table.code, {100.f, 200.f}) == table.id);
    table.moveCard({200.f, 300.f});
    CHECK(table.item->location() == location);
}

TEST_CASE("lifting: with dismissal the action runs once and the tracker ends, also of an item that does not follow")
{
    for (const bool follows : {true, false}) {
        CAPTURE(follows);
        TrackerTable table;
        table.track({follows, true});
        (void)table.putDown(PluginTest::newCode(), {800.f, 500.f}); // another card keeps no item
        table.host.frames(2);
        CHECK(table.dismissals == 0);
        table.lift(table.id);
        CHECK(table.dismissals == 1);
        CHECK(table.item->operators().empty());
        table.host.frames(5);
        CHECK(table.dismissals == 1);
    }
}

TEST_CASE("lifting: a move in the frame of the lifting is not applied")
{
    TrackerTable table;
    table.track();
    const auto location = table.item->location();
    table.host.input.markerMove(table.id, {900.f, 700.f});
    table.lift(table.id);
    CHECK(table.item->location() == location);
}

TEST_CASE("lifting: a card that was lifted before the tracker began ends it in the first frame")
{
    TrackerTable table;
    table.tracker = table.make({true, true});
    table.lift(table.id);
    table.tracker->setWidget(*table.item);
    table.item->addOperator(table.tracker);
    CHECK(table.dismissals == 0);
    table.host.frame();
    CHECK(table.dismissals == 1);
    CHECK(table.item->operators().empty());
}

TEST_CASE("lifting: a card that is lifted and put down within one frame is the same card to its item")
{
    TrackerTable table;
    table.track({true, true});
    const auto before = table.item->location();
    table.host.input.markerUp(table.id);
    REQUIRE(table.host.input.markerDown(table.code, kCard + Vector2f(20.f, 0.f)) == table.id);
    table.host.frame();
    CHECK(table.dismissals == 0);
    CHECK(near(table.item->location(), before + Vector2f(20.f, 0.f)));
}

TEST_CASE("lifting: a dismissal may remove the item from the tree, or the tracker, at once")
{
    for (const bool removesItem : {true, false}) {
        CAPTURE(removesItem);
        TrackerTable table;
        table.whenDismissed = [&] {
            if (removesItem)
                return table.item->removeFromParent();
            table.item->removeOperator(*table.tracker);
            table.tracker.reset();
        };
        table.track({true, true});
        table.lift(table.id);
        table.host.frames(3);
        CHECK(table.dismissals == 1);
        CHECK((table.item->parent() == nullptr) == removesItem);
        CHECK(table.item->operators().empty());
    }
}

TEST_CASE("dismissing: the action runs only where items are dismissed, the tracker ends in every case")
{
    TrackerTable table;
    for (const bool dismiss : {false, true}) {
        CAPTURE(dismiss);
        table.dismissals = 0;
        table.track({true, dismiss});
        table.tracker->dismissContent();
        CHECK(table.dismissals == (dismiss ? 1 : 0));
        CHECK(table.tracker->isDone());
        table.host.frame();
        CHECK(table.item->operators().empty());
    }
}

TEST_CASE("dismissing: the action runs once, however often it is asked for, by the action itself and with the lifting")
{
    TrackerTable table;
    table.whenDismissed = [&] { table.tracker->dismissContent(); };
    table.track({true, true});
    table.tracker->dismissContent();
    table.tracker->dismissContent();
    CHECK(table.dismissals == 1);
    CHECK(table.tracker->isDone());
    table.lift(table.id);
    table.host.frames(2);
    CHECK(table.dismissals == 1);
}

TEST_CASE("dismissing: a dismissed item does not follow any more")
{
    TrackerTable table;
    table.track({true, true});
    table.tracker->dismissContent();
    const auto location = table.item->location();
    table.moveCard({800.f, 600.f});
    CHECK(table.item->location() == location);
}

TEST_CASE("tracked item: one that is destroyed is no target any more, and the tracker leaves it alone")
{
    TrackerTable table;
    const Bedrock::IntrusivePtr<Trellis::Widget> carrier(new Trellis::Widget(&table.host.mainWidget()));
    table.tracker = table.make({true, true});
    table.tracker->setWidget(*table.item);
    carrier->addOperator(table.tracker);
    CHECK(table.tracker->getTargetWidget() == table.item);
    table.item->removeFromParent();
    table.item.reset();
    table.host.frame();
    CHECK_FALSE(table.tracker->getTargetWidget());
    table.moveCard({700.f, 500.f}, 1.0);
    SUBCASE("then the card is lifted")
    {
        table.lift(table.id);
        CHECK(table.dismissals == 1);
        CHECK(carrier->operators().empty());
    }
    SUBCASE("then the tracker is removed")
    {
        carrier->removeOperator(*table.tracker);
    }
    SUBCASE("then the carrier is removed")
    {
        carrier->removeFromParent();
    }
    table.host.frames(2);
}

TEST_CASE("tracked item: one that is destroyed with its tracker, before the lifting or with it, is not dismissed")
{
    for (const char* when : {"before the card", "in the frame of the card", "after the card, in the same frame"}) {
        CAPTURE(when);
        TrackerTable table;
        table.track({true, true, 90.f, false});
        const bool isAfter = when == std::string("after the card, in the same frame");
        if (isAfter)
            table.host.input.markerUp(table.id);
        table.item->removeFromParent();
        table.item.reset();
        if (when == std::string("before the card")) {
            table.host.frames(2);
            table.moveCard({700.f, 500.f});
        }
        isAfter ? table.host.frame() : table.lift(table.id);
        CHECK(table.dismissals == 0);
        table.tracker->dismissContent();
        CHECK(table.dismissals == 1);
        CHECK_FALSE(table.tracker->getTargetWidget());
    }
}

TEST_CASE("tracked item: while it has no parent it does not move, and later it does not make up for that")
{
    TrackerTable table;
    table.tracker = table.make();
    table.tracker->setWidget(*table.item);
    table.item->removeFromParent();
    const Trellis::FrameInfo frame(1.f / 60.f, 0.0, 1);
    table.moveCard({700.f, 500.f});
    table.tracker->update(*table.item, frame);
    CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
    table.host.mainWidget().addChild(table.item);
    table.tracker->update(*table.item, frame);
    CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
    table.moveCard({710.f, 500.f});
    table.tracker->update(*table.item, frame);
    CHECK(near(table.item->location(), {510.f, 300.f}));
}
