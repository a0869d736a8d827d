#include "folder/PersonalFolderWidget.hpp"

#include "Table.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

// What a lifted card does to what its folder opened.

using PluginTest::CardAndFolder;
using PluginTest::FolderItem;
using PluginTest::kStyledPlace;
using PluginTest::near;
using PluginTest::operatorsOf;
using Tavola::MarkerTrackerOperator;
using Vecta::Vector2f;

TEST_CASE("lifting: card up alone dismisses nothing")
{
    CardAndFolder table;
    table.addItem(CardAndFolder::kRelative, "r");
    table.addMenu(CardAndFolder::kAbsolute);
    table.down();
    table.up();
    table.finishOpening();
    table.lift(table.id);
    table.host.frames(30);
    CHECK(table.items().size() == 1);
    CHECK(table.menus().size() == 1);
    CHECK(table.item("r").operators().empty());
    CHECK(table.item("r").opacity() == doctest::Approx(1.f));
}

TEST_CASE("lifting: with dismiss-widgets items fade out in 0.2 seconds and are deleted")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.addItem(CardAndFolder::kRelative, "r");
    table.addItem(CardAndFolder::kAbsolute, "a");
    table.down();
    table.finishOpening();
    CHECK(table.items().size() == 2);
    const Bedrock::IntrusiveWeakPtr<FolderItem> watched(&table.item("r"));
    table.host.input.markerUp(table.id);
    table.host.frame(0.0);
    REQUIRE(table.items().size() == 2);
    for (const auto* item : table.items()) {
        CHECK(Trellis::FadeAnimator::isFadingOut(*item));
        CHECK(operatorsOf<MarkerTrackerOperator>(*item).empty());
    }
    table.host.frame(0.1);
    REQUIRE(table.items().size() == 2);
    CHECK(table.item("r").opacity() == doctest::Approx(0.5f).epsilon(0.05));
    table.host.frame(0.09);
    CHECK(table.items().size() == 2);
    table.host.frame(0.02);
    CHECK(table.items().empty());
    table.host.frame();
    CHECK_FALSE(watched.lock());
}

TEST_CASE("lifting: with dismiss-widgets an item that still opens is dismissed, too")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    table.host.frames(2);
    table.lift(table.id);
    table.host.frames(30);
    CHECK(table.items().empty());
}

TEST_CASE("lifting: with dismiss-widgets only items that the lifted card opened are dismissed")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    const auto otherId = table.putDown(PluginTest::newCode(), {300.f, 200.f});
    table.folder->personalMarkerDown(*table.card(otherId));
    table.finishOpening();
    table.lift(table.id);
    table.host.frames(30);
    REQUIRE(table.items().size() == 1);
    CHECK(near(table.items()[0]->location(), Vector2f(300.f, 200.f) + kStyledPlace));
}

TEST_CASE("lifting: next to an item that a visitor has closed, the others are dismissed")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.addItem(CardAndFolder::kRelative, "closed");
    table.addItem(CardAndFolder::kRelative, "open");
    table.down();
    table.finishOpening();
    table.item("closed").removeFromParent();
    table.host.frame();
    table.lift(table.id);
    table.host.frames(30);
    CHECK(table.items().empty());
}

TEST_CASE("lifting: items stay and are dismissed after their folder is destroyed")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.set("follow-marker", true);
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    table.folder.reset();
    table.component.reset();
    table.finishOpening();
    CHECK(table.items().size() == 1);
    table.moveCard({700.f, 500.f});
    table.lift(table.id);
    table.host.frames(30);
    CHECK(table.items().empty());
}

TEST_CASE("lifting: with dismiss-widgets the menu closes the node that was opened for the card")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.addMenu(CardAndFolder::kRelative);
    table.down();
    table.finishOpening();
    REQUIRE(table.menus().size() == 1);
    const Bedrock::IntrusivePtr<Tavola::ContentMenuWidget> menu(table.menus()[0]);
    const auto other = menu->prepare({900.f, 500.f});
    const auto node = other - 1;
    REQUIRE(menu->nodeWidget(node));
    table.lift(table.id);
    CHECK_FALSE(menu->nodeWidget(node));
    CHECK(menu->nodeWidget(other));
    table.host.frames(30);
    CHECK(menu->nodeWidget(other));
    CHECK(menu->parent() == &table.host.mainWidget());
}
