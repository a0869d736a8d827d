#include "folder/MarkerTrackerOperator.hpp"

#include "TrackerTable.hpp"

#include <doctest/doctest.h>

#include <string>
#include <utility>
#include <vector>

using PluginTest::carried;
using PluginTest::kCard;
using PluginTest::kCorner;
using PluginTest::kDegree;
using PluginTest::near;
using PluginTest::operatorsOf;
using PluginTest::sameDirection;
using PluginTest::TrackerOptions;
using PluginTest::TrackerTable;
using Tavola::MarkerTrackerOperator;
using Vecta::Vector2f;

TEST_CASE("tracker: it has its CSS type, and its attribute with the default of its making")
{
    TrackerTable table;
    for (const bool follow : {false, true}) {
        const auto tracker = table.make({follow});
        CHECK(tracker->cssType() == "marker-tracker-operator");
        REQUIRE(tracker->attributes().size() == 1);
        auto* moves = dynamic_cast<Facet::AttributeT<bool>*>(tracker->attribute("move-widget-with-marker"));
        REQUIRE(moves);
        CHECK(moves->value() == follow);
        CHECK(moves->visibleLayer() == Facet::kDefaultLayer);
        CHECK_FALSE(tracker->isDone());
        CHECK_FALSE(tracker->getTargetWidget());
    }
}

TEST_CASE("tracker: a style sheet decides whether an item follows")
{
    TrackerTable table;
    table.track({false});
    table.host.style("FolderItem > marker-tracker-operator { move-widget-with-marker: true }");
    table.host.frame();
    table.moveCard({650.f, 420.f});
    CHECK(near(table.item->location(), {550.f, 320.f}));
}

TEST_CASE("tracker: an item moves by as much as its card does")
{
    TrackerTable table;
    table.track();
    const auto before = table.item->location();
    table.moveCard({650.f, 370.f});
    CHECK(near(table.item->location(), before + Vector2f(50.f, -30.f)));
    table.moveCard({100.f, 100.f});
    CHECK(near(table.item->location(), before + Vector2f(-500.f, -300.f)));
}

TEST_CASE("tracker: an item that follows moves and turns with its card like a picture glued to it")
{
    struct Row
    {
        const char* what;
        double startDegrees;
        std::vector<std::pair<Vector2f, double>> card; ///< places and directions, in degrees, one after the other
    };
    std::vector<std::pair<Vector2f, double>> fullTurn;
    for (int step = 1; step <= 36; ++step)
        fullTurn.emplace_back(kCard, step * 10.0);
    const Row rows[] = {
        {"turned by 30 degrees, about the card's centre", 10.0, {{kCard, 40.0}}},
        {"moved and turned at once", 0.0, {{{750.f, 480.f}, 75.0}}},
        {"a turn over the zero of the angle is the short turn that it is", 350.0, {{kCard, 20.0}, {kCard, 345.0}}},
        {"a full turn in many steps", 0.0, fullTurn}};
    for (const Row& row : rows) {
        CAPTURE(row.what);
        TrackerTable table(float(row.startDegrees * kDegree));
        table.track();
        const auto rotation = table.item->rotation();
        const auto origin = table.seen(*table.item);
        const auto corner = table.seen(*table.item, kCorner);
        for (const auto& [to, degrees] : row.card) {
            CAPTURE(degrees);
            table.moveCard(to, degrees * kDegree);
            const double turn = (degrees - row.startDegrees) * kDegree;
            CHECK(sameDirection(table.item->rotation(), rotation + turn));
            CHECK(near(table.seen(*table.item), carried(origin, kCard, to, turn), 0.1f));
            CHECK(near(table.seen(*table.item, kCorner), carried(corner, kCard, to, turn), 0.1f));
        }
    }
}

TEST_CASE("tracker: the parent may be turned and scaled, on the table the item moves and turns as the card does")
{
    for (const char* what : {"the parent alone", "with the main widget", "with the item itself"}) {
        CAPTURE(what);
        TrackerTable table;
        const Bedrock::IntrusivePtr<Trellis::Widget> parent(new Trellis::Widget(&table.host.mainWidget()));
        parent->setSize({300.f, 300.f});
        parent->setLocation({400.f, 200.f});
        parent->setScale(2.f);
        parent->setRotation(0.8f);
        if (what == std::string("with the main widget")) {
            table.host.mainWidget().setScale(0.5f);
            table.host.mainWidget().setRotation(-0.3f);
        } else if (what == std::string("with the item itself")) {
            table.item->setScale(1.7f);
        }
        parent->addChild(table.item);
        table.item->setLocation({60.f, 20.f});
        table.track();
        const auto origin = table.seen(*table.item);
        const auto corner = table.seen(*table.item, kCorner);
        const Vector2f to{640.f, 380.f};
        table.moveCard(to, 30.0 * kDegree);
        CHECK(near(table.seen(*table.item), carried(origin, kCard, to, 30.0 * kDegree), 0.2f));
        CHECK(near(table.seen(*table.item, kCorner), carried(corner, kCard, to, 30.0 * kDegree), 0.2f));
    }
}

TEST_CASE("tracker: an item that a visitor has put elsewhere follows from there")
{
    TrackerTable table;
    table.track();
    table.item->setLocation({1000.f, 700.f});
    table.host.frames(3);
    CHECK(table.item->location() == Vector2f(1000.f, 700.f));
    table.moveCard(kCard + Vector2f(10.f, 5.f));
    CHECK(near(table.item->location(), {1010.f, 705.f}));
}

TEST_CASE("tracker: while the card lies still nothing is changed and nothing is drawn")
{
    TrackerTable table(0.37f);
    // Angles and scales that no float holds exactly. What is computed anew from them creeps in the first frames, until it has
    // found numbers that come out as they went in: so every frame from the first one on is checked, at many places.
    table.host.mainWidget().setScale(0.7f);
    table.host.mainWidget().setRotation(0.61f);
    table.item->setScale(1.3f);
    table.track();
    int changes = 0;
    for (const char* name : {"location", "rotation"})
        table.item->attribute(name)->addListener([&changes] { ++changes; });
    for (int place = 0; place < 20; ++place) {
        CAPTURE(place);
        table.moveCard(Vector2f(611.3f, 397.9f) + Vector2f(13.7f, -7.3f) * float(place), 0.83 + 0.29 * place);
        (void)table.host.app().collectDamage();
        const auto location = table.item->location();
        const auto rotation = table.item->rotation();
        changes = 0;
        table.host.frames(10);
        CHECK(changes == 0);
        CHECK(table.item->location() == location);
        CHECK(table.item->rotation() == rotation);
        CHECK(table.host.app().collectDamage().isEmpty());
    }
}

TEST_CASE("tracker: an item that does not follow is neither turned at the start nor moved")
{
    TrackerTable table(1.f);
    table.track({false});
    CHECK(table.item->rotation() == 0.f);
    table.moveCard({700.f, 500.f}, 2.0);
    CHECK(table.item->rotation() == 0.f);
    CHECK(table.item->location() == Vector2f(500.f, 300.f));
}

TEST_CASE("tracker: following that is switched on later begins with the card as it lies then")
{
    TrackerTable table;
    table.track({false});
    table.moveCard({700.f, 500.f}, 1.0);
    auto& moves = dynamic_cast<Facet::AttributeT<bool>&>(*table.tracker->attribute("move-widget-with-marker"));
    moves.setValue(true);
    table.host.frames(2);
    CHECK(table.item->location() == Vector2f(500.f, 300.f));
    CHECK(table.item->rotation() == 0.f);
    table.moveCard({710.f, 500.f});
    CHECK(near(table.item->location(), {510.f, 300.f}));
    moves.setValue(false);
    table.moveCard({900.f, 500.f});
    CHECK(near(table.item->location(), {510.f, 300.f}));
}

TEST_CASE("tracker: at the start a following item gets the card's rotation and the offset, and keeps its location")
{
    for (const float offset : {TrackerOptions().offsetDegrees, -35.f}) {
        CAPTURE(offset);
        TrackerTable table(float(20.0 * kDegree));
        table.track({true, false, offset});
        CHECK(sameDirection(table.item->rotation(), (20.0 + double(offset)) * kDegree));
        CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
        CHECK(table.seen(*table.item) == table.item->location());
    }
}

TEST_CASE("tracker: a style sheet decides also whether an item is turned at the start")
{
    struct Row
    {
        const char* selector;
        bool follow; ///< as the tracker was made
        const char* value;
        bool isTurned;
    };
    const Row rows[] = {{"marker-tracker-operator", true, "false", false},
                        {"marker-tracker-operator", false, "true", true},
                        {"FolderItem > marker-tracker-operator", true, "false", false},
                        {"FolderItem > marker-tracker-operator", false, "true", true},
                        {"FolderItem.still marker-tracker-operator", true, "false", false},
                        {"FolderItem.other marker-tracker-operator", true, "false", true},
                        {"ContentMenuWidget > marker-tracker-operator", true, "false", true}};
    for (const Row& row : rows) {
        for (const bool reverse : {false, true}) {
            CAPTURE(row.selector);
            CAPTURE(row.follow);
            CAPTURE(reverse);
            TrackerTable table(float(20.0 * kDegree));
            table.item->addCSSClass("still");
            table.host.style(QString("%1 { move-widget-with-marker: %2 }").arg(row.selector, row.value));
            table.track({row.follow, false, 90.f, reverse});
            CHECK(sameDirection(table.item->rotation(), row.isTurned ? 110.0 * kDegree : 0.0));
            CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
            table.moveCard(kCard + Vector2f(10.f, 0.f));
            CHECK(near(table.item->location(), {row.isTurned && !reverse ? 510.f : 500.f, 300.f}, 0.01f));
        }
    }
}

TEST_CASE("tracker: at the start the location is restored under turned and scaled parents too")
{
    TrackerTable table(0.4f);
    table.host.mainWidget().setScale(0.6f);
    table.host.mainWidget().setRotation(1.1f);
    table.item->setScale(1.5f);
    table.track({true, false, 45.f});
    CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
    CHECK(sameDirection(table.item->rotation(), 0.4 + 45.0 * kDegree));
}

TEST_CASE("tracker: at the start the card counts as it lay when the tracker was made")
{
    TrackerTable table(0.5f);
    table.tracker = table.make({true, false, 0.f});
    table.moveCard({800.f, 600.f}, 1.5);
    table.tracker->setWidget(*table.item);
    CHECK(sameDirection(table.item->rotation(), 0.5));
    CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
    // The first frame applies what the card did meanwhile.
    const auto origin = table.seen(*table.item);
    table.item->addOperator(table.tracker);
    table.host.frame();
    CHECK(near(table.seen(*table.item), carried(origin, kCard, {800.f, 600.f}, 1.0)));
}

TEST_CASE("tracker: in reverse mode the item has the class manual-control until the tracker is removed")
{
    TrackerTable table;
    table.track({false, false, 90.f, true});
    CHECK(table.item->hasCSSClass("manual-control"));
    table.host.frames(3);
    CHECK(table.item->hasCSSClass("manual-control"));
    SUBCASE("by hand")
    {
        table.item->removeOperator(*table.tracker);
    }
    SUBCASE("because it is done")
    {
        table.tracker->dismissContent();
        table.host.frame();
    }
    CHECK_FALSE(table.item->hasCSSClass("manual-control"));
    CHECK(table.item->operators().empty());
}

TEST_CASE("tracker: outside reverse mode it never adds the class manual-control, but its removal takes it from the item")
{
    TrackerTable table;
    table.track();
    CHECK_FALSE(table.item->hasCSSClass("manual-control"));
    table.host.frame();
    CHECK_FALSE(table.item->hasCSSClass("manual-control"));
    table.item->addCSSClass("manual-control");
    table.lift(table.id);
    CHECK_FALSE(table.item->hasCSSClass("manual-control"));
}

TEST_CASE("tracker: in reverse mode an item neither follows its card nor is dismissed when the card is lifted")
{
    TrackerTable table;
    table.track({true, true, 90.f, true});
    // Its start is the same.
    CHECK(sameDirection(table.item->rotation(), 90.0 * kDegree));
    table.moveCard({700.f, 500.f}, 1.0);
    CHECK(near(table.item->location(), {500.f, 300.f}, 0.001f));
    CHECK(sameDirection(table.item->rotation(), 90.0 * kDegree));
    table.lift(table.id);
    table.host.frames(5);
    CHECK(table.dismissals == 0);
    CHECK_FALSE(table.tracker->isDone());
    table.tracker->dismissContent();
    CHECK(table.dismissals == 1);
    table.host.frame();
    CHECK(table.item->operators().empty());
}

TEST_CASE("tracker: the class is removed from the item, not from the widget that carries the tracker")
{
    TrackerTable table;
    const Bedrock::IntrusivePtr<Trellis::Widget> carrier(new Trellis::Widget(&table.host.mainWidget()));
    carrier->addCSSClass("manual-control");
    table.tracker = table.make({false, false, 90.f, true});
    table.tracker->setWidget(*table.item);
    carrier->addOperator(table.tracker);
    CHECK(table.item->hasCSSClass("manual-control"));
    carrier->removeOperator(*table.tracker);
    CHECK_FALSE(table.item->hasCSSClass("manual-control"));
    CHECK(carrier->hasCSSClass("manual-control"));
}

TEST_CASE("tracker: an item that is a marker taker receives the card as it lies now")
{
    TrackerTable table(0.25f);
    table.tracker = table.make();
    table.moveCard({640.f, 420.f});
    bool wasTurned = false;
    table.item->onTake = [&] { wasTurned = table.item->rotation() > 1.f; };
    table.tracker->setWidget(*table.item);
    REQUIRE(table.item->taken.size() == 1);
    CHECK(table.item->taken[0].id() == table.id);
    CHECK(table.item->taken[0].code() == table.code);
    CHECK(table.item->taken[0].centerLocation() == Vector2f(640.f, 420.f));
    CHECK(wasTurned);
    table.item->addOperator(table.tracker);
    table.host.frames(3);
    CHECK(table.item->taken.size() == 1);
}

TEST_CASE("tracker: an item is marked for manual control before it receives its card")
{
    TrackerTable table;
    bool wasMarked = false;
    table.item->onTake = [&] { wasMarked = table.item->hasCSSClass("manual-control"); };
    table.track({false, false, 90.f, true});
    CHECK(table.item->taken.size() == 1);
    CHECK(wasMarked);
}

TEST_CASE("tracker: an item does not receive a card that was lifted")
{
    TrackerTable table;
    table.tracker = table.make();
    table.lift(table.id);
    table.tracker->setWidget(*table.item);
    CHECK(table.item->taken.empty());
    CHECK(table.tracker->getTargetWidget() == table.item);
}

TEST_CASE("tracker: an item that is no marker taker is tracked all the same")
{
    TrackerTable table;
    const Bedrock::IntrusivePtr<Trellis::Widget> plain(new Trellis::Widget(&table.host.mainWidget()));
    plain->setSize({10.f, 10.f});
    plain->setLocation({5.f, 5.f});
    table.tracker = table.make();
    table.tracker->setWidget(*plain);
    plain->addOperator(table.tracker);
    table.moveCard(kCard + Vector2f(7.f, 8.f));
    CHECK(near(plain->location(), {12.f, 13.f}));
}

TEST_CASE("tracker: an item may remove itself when it receives the card")
{
    TrackerTable table;
    table.item->onTake = [&] { table.item->removeFromParent(); };
    table.track();
    table.moveCard({700.f, 500.f});
    CHECK_FALSE(table.item->parent());
}

TEST_CASE("tracker: the folder may be destroyed while its items are tracked")
{
    TrackerTable table;
    table.track({true, true});
    table.folder.reset();
    table.component.reset();
    table.host.frames(2);
    table.moveCard(kCard + Vector2f(9.f, 0.f));
    CHECK(near(table.item->location(), {509.f, 300.f}));
    table.lift(table.id);
    CHECK(table.dismissals == 1);
}

TEST_CASE("tracker: two trackers of one item both move it, and each ends with its own card")
{
    TrackerTable table;
    const auto otherId = table.putDown(PluginTest::newCode(), {300.f, 300.f});
    table.track({true, false, 0.f});
    const auto second = Bedrock::makeIntrusive<MarkerTrackerOperator>(*table.card(otherId), true, false, *table.folder,
                                                                      std::function<void()>(), 0.f, false);
    second->setWidget(*table.item);
    table.item->addOperator(second);
    table.host.input.markerMove(otherId, {305.f, 300.f});
    table.moveCard(kCard + Vector2f(0.f, 7.f));
    CHECK(near(table.item->location(), {505.f, 307.f}));
    table.lift(table.id);
    CHECK(operatorsOf<MarkerTrackerOperator>(*table.item) == std::vector<MarkerTrackerOperator*>{second.get()});
}

TEST_CASE("tracker: a dismissal without an action ends the tracker")
{
    TrackerTable table;
    const auto tracker = Bedrock::makeIntrusive<MarkerTrackerOperator>(*table.card(table.id), true, true, *table.folder,
                                                                       std::function<void()>(), 0.f, false);
    tracker->dismissContent();
    CHECK(tracker->isDone());
}
