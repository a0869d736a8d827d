#include "folder/MarkerTrackerOperator.hpp"

#include "LogCapture.hpp"
#include "TrackerTable.hpp"

#include <doctest/doctest.h>

// What trackers do to items that still open, and to nodes of menus.

using PluginTest::carried;
using PluginTest::kCard;
using PluginTest::kCorner;
using PluginTest::kDegree;
using PluginTest::near;
using PluginTest::operatorsOf;
using PluginTest::TrackerOptions;
using PluginTest::TrackerTable;
using Tavola::LaunchedContentOperator;
using Tavola::MarkerTrackerOperator;
using Vecta::Vector2f;

// ---- While the item still opens --------------------------------------------------------------------------------------

namespace
{
/// Where origin and corner of a following item are seen in the end, when the card moves after `framesBefore` frames of an
/// opening that takes 30.
std::pair<Vector2f, Vector2f> endOfOpening(bool relative, int framesBefore, Vector2f to, double rotation, bool turnedMain)
{
    TrackerTable table(0.3f);
    if (turnedMain) {
        table.host.mainWidget().setScale(0.8f);
        table.host.mainWidget().setRotation(0.5f);
    }
    table.item->setLocation({40.f, 25.f});
    table.item->addOperator(
        Bedrock::makeIntrusive<LaunchedContentOperator>(relative, table.host.mainWidget().mapFromScene(kCard), 0.5f));
    table.track({true, false, 20.f});
    table.host.frames(framesBefore);
    table.moveCard(to, rotation);
    table.host.frames(60);
    CHECK(operatorsOf<LaunchedContentOperator>(*table.item).empty());
    return {TrackerTable::seen(*table.item), TrackerTable::seen(*table.item, kCorner)};
}
}

TEST_CASE("opening: it ends at the moved place when the card moves meanwhile")
{
    const Vector2f to{750.f, 460.f};
    for (const bool relative : {true, false}) {
        for (const bool turnedMain : {false, true}) {
            for (const double rotation : {0.3, 1.2}) {
                CAPTURE(relative);
                CAPTURE(turnedMain);
                CAPTURE(rotation);
                const auto afterwards = endOfOpening(relative, 60, to, rotation, turnedMain);
                for (const int frames : {0, 1, 10, 28}) {
                    CAPTURE(frames);
                    const auto meanwhile = endOfOpening(relative, frames, to, rotation, turnedMain);
                    CHECK(near(meanwhile.first, afterwards.first, 0.5f));
                    CHECK(near(meanwhile.second, afterwards.second, 0.5f));
                }
            }
        }
    }
}

TEST_CASE("opening: many small moves meanwhile end where one would")
{
    TrackerTable table;
    table.item->setLocation({40.f, 25.f});
    table.item->addOperator(Bedrock::makeIntrusive<LaunchedContentOperator>(true, kCard, 0.5f));
    table.track({true, false, 0.f});
    for (int step = 1; step <= 25; ++step)
        table.moveCard(kCard + Vector2f(4.f, -2.f) * float(step));
    table.host.frames(60);
    CHECK(near(table.item->location(), kCard + Vector2f(40.f, 25.f) + Vector2f(100.f, -50.f), 0.2f));
    CHECK(table.item->scale() == doctest::Approx(1.f));
}

TEST_CASE("opening: all of an item's openings end at the moved place")
{
    TrackerTable table;
    table.host.mainWidget().setScale(0.8f);
    for (int i = 0; i < 3; ++i)
        table.item->addOperator(
            Bedrock::makeIntrusive<LaunchedContentOperator>(i != 1, table.host.mainWidget().mapFromScene(kCard), 0.5f));
    table.track({true, false, 0.f});
    const Vector2f to{650.f, 380.f};
    table.moveCard(to);
    const auto openings = operatorsOf<LaunchedContentOperator>(*table.item);
    REQUIRE(openings.size() == 3);
    for (const auto* opening : openings)
        CHECK(near(opening->point(), table.host.mainWidget().mapFromScene(to)));
}

TEST_CASE("opening: an item that does not follow opens where the card was")
{
    TrackerTable table;
    table.item->setLocation({40.f, 25.f});
    table.item->addOperator(Bedrock::makeIntrusive<LaunchedContentOperator>(true, kCard, 0.5f));
    table.track({false});
    table.host.frames(5);
    table.moveCard({900.f, 600.f}, 1.0);
    table.host.frames(60);
    CHECK(near(table.item->location(), kCard + Vector2f(40.f, 25.f)));
}

// ---- Nodes of menus --------------------------------------------------------------------------------------------------

TEST_CASE("menu: the widget of the node is what is moved, the menu stays")
{
    TrackerTable table;
    table.addMenuNode();
    table.trackNode();
    CHECK(table.tracker->getTargetWidget() == table.menu->nodeWidget(table.node));
    table.finishOpening();
    const auto menuBefore = table.seen(*table.menu);
    const auto origin = table.seen(*table.menu->nodeWidget(table.node));
    const Vector2f to{660.f, 420.f};
    table.moveCard(to, 30.0 * kDegree);
    CHECK(near(table.seen(*table.menu->nodeWidget(table.node)), carried(origin, kCard, to, 30.0 * kDegree)));
    CHECK(near(table.seen(*table.menu), menuBefore));
}

TEST_CASE("menu: a node that still opens ends at the moved place")
{
    TrackerTable table;
    table.addMenuNode();
    table.trackNode({true, false, 0.f});
    table.host.frames(3);
    table.moveCard(kCard + Vector2f(80.f, 30.f));
    table.finishOpening();
    CHECK(near(table.seenCentre(*table.menu->nodeWidget(table.node)), kCard + Vector2f(80.f, 30.f), 0.5f));
}

TEST_CASE("menu: a node that does not follow stays")
{
    TrackerTable table;
    table.addMenuNode();
    table.trackNode({false});
    table.finishOpening();
    const auto origin = table.seen(*table.menu->nodeWidget(table.node));
    table.moveCard({800.f, 500.f}, 1.0);
    CHECK(near(table.seen(*table.menu->nodeWidget(table.node)), origin));
}

TEST_CASE("menu: a style sheet that keeps the nodes of a menu from following keeps them from being turned, too")
{
    for (const char* selector : {"marker-tracker-operator", "ContentMenuWidget > marker-tracker-operator"}) {
        CAPTURE(selector);
        TrackerTable table;
        table.addMenuNode();
        table.host.style(QString("%1 { move-widget-with-marker: false }").arg(selector));
        table.trackNode();
        CHECK(table.menu->nodeWidget(table.node)->rotation() == 0.f);
        table.finishOpening();
        const auto origin = table.seen(*table.menu->nodeWidget(table.node));
        table.moveCard({800.f, 500.f}, 1.0);
        CHECK(near(table.seen(*table.menu->nodeWidget(table.node)), origin));
    }
}

TEST_CASE("menu: a node that is closed is no target any more")
{
    TrackerTable table;
    table.addMenuNode();
    table.trackNode({true, true});
    table.finishOpening();
    SUBCASE("the menu is removed with its last node, and the tracker with it")
    {
        table.menu->closeNode(table.node);
        CHECK_FALSE(table.tracker->getTargetWidget());
        table.moveCard({800.f, 500.f}, 1.0);
        table.host.frames(30);
        REQUIRE_FALSE(table.menu->parent());
        table.lift(table.id);
        CHECK(table.dismissals == 0);
    }
    SUBCASE("a menu with another node stays, and the tracker waits for its card")
    {
        const auto other = table.menu->prepare({900.f, 600.f});
        table.finishOpening();
        const auto origin = table.seen(*table.menu->nodeWidget(other));
        table.menu->closeNode(table.node);
        CHECK_FALSE(table.tracker->getTargetWidget());
        table.moveCard({800.f, 500.f}, 1.0);
        CHECK(near(table.seen(*table.menu->nodeWidget(other)), origin));
        table.host.frames(30);
        CHECK(table.dismissals == 0);
        table.lift(table.id);
        CHECK(table.dismissals == 1);
        CHECK(operatorsOf<MarkerTrackerOperator>(*table.menu).empty());
    }
}

TEST_CASE("menu: a menu that is destroyed is no target any more")
{
    TrackerTable table;
    table.addMenuNode();
    table.trackNode({true, true});
    table.menu->removeFromParent();
    table.menu.reset();
    table.host.frames(2);
    CHECK_FALSE(table.tracker->getTargetWidget());
    table.moveCard({800.f, 500.f});
    table.lift(table.id);
    table.tracker->dismissContent();
    CHECK(table.tracker->isDone());
}

TEST_CASE("menu: lifting the card dismisses where items are dismissed, and ends the tracker")
{
    TrackerTable table;
    table.addMenuNode();
    SUBCASE("dismissed")
    {
        table.trackNode({true, true});
        table.lift(table.id);
        CHECK(table.dismissals == 1);
    }
    SUBCASE("left")
    {
        table.trackNode({true, false});
        table.lift(table.id);
        CHECK(table.dismissals == 0);
        CHECK(table.menu->nodeWidget(table.node));
    }
    CHECK(operatorsOf<MarkerTrackerOperator>(*table.menu).empty());
}

TEST_CASE("menu: a node in reverse mode is marked while it is tracked, and no more while it fades away")
{
    TrackerTable table;
    table.addMenuNode();
    table.whenDismissed = [&] { table.menu->closeNode(table.node); };
    table.trackNode({true, true, 0.f, true});
    const Bedrock::IntrusivePtr<Trellis::Widget> widget = table.menu->nodeWidget(table.node);
    CHECK(widget->hasCSSClass("manual-control"));
    table.tracker->dismissContent();
    table.host.frame();
    CHECK(table.dismissals == 1);
    CHECK_FALSE(widget->hasCSSClass("manual-control"));
}
