#include "folder/PersonalFolderWidget.hpp"

#include "Table.hpp"

#include <Tavola/Utils.hpp>

#include <doctest/doctest.h>

// The menus of a folder.

using PluginTest::CardAndFolder;
using PluginTest::isTemporary;
using PluginTest::kCard;
using PluginTest::near;
using PluginTest::operatorsOf;
using PluginTest::sameDirection;
using PluginTest::Strings;
using Tavola::LaunchedContentOperator;
using Tavola::MarkerTrackerOperator;
using Tavola::PersonalFolderWidget;

TEST_CASE("menu: it opens at the card as temporary content of class personal-menu, with its tracker")
{
    CardAndFolder table(0.5f);
    table.addMenu(CardAndFolder::kRelative);
    table.addMenu(CardAndFolder::kAbsolute);
    table.down();
    REQUIRE(table.menus().size() == 2);
    table.finishOpening();
    for (auto* menu : table.menus()) {
        CHECK(menu->hasCSSClass("personal-menu"));
        CHECK(isTemporary(*menu));
        CHECK(operatorsOf<MarkerTrackerOperator>(*menu).size() == 1);
        CHECK(operatorsOf<LaunchedContentOperator>(*menu).empty());
        CHECK(near(table.seenCentre(table.nodeOf(*menu)), kCard, 1.f));
    }
}

TEST_CASE("menu: it is a personal menu before it stands on the table, and temporary content once it is tracked")
{
    CardAndFolder table;
    const auto menu = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>();
    table.addMenu(CardAndFolder::kAbsolute); // for its file
    dynamic_cast<Facet::AttributeT<QString>&>(*menu->attribute("menu")).setValue(table.files.filePath("menu.json"));
    // The styles change in the moments in which the classes are added.
    table.host.style(QString(".personal-menu { menu-style: list } .%1 { width: 1px }")
                         .arg(QString::fromUtf8(Tavola::Utils::temporaryWidgetCSSClass())));
    Strings moments;
    menu->attribute("menu-style")->addListener([&] { moments.push_back(menu->parent() ? "in the tree" : "alone"); });
    menu->attribute("width")->addListener(
        [&] { moments.push_back(std::to_string(operatorsOf<MarkerTrackerOperator>(*menu).size()) + " trackers"); });
    table.folder->handleMenu(*menu, kCard, table.host.mainWidget(), *table.card(table.id));
    CHECK(moments == Strings{"alone", "1 trackers"});
}

TEST_CASE("menu: under a turned and scaled main widget it opens at the card")
{
    CardAndFolder table;
    table.host.mainWidget().setScale(0.5f);
    table.host.mainWidget().setRotation(0.4f);
    table.addMenu(CardAndFolder::kRelative);
    table.down();
    table.finishOpening();
    CHECK(near(table.seenCentre(table.nodeOf(*table.menus()[0])), kCard, 1.f));
}

TEST_CASE("menu: styles of personal menus on the table count for the node that it opens with")
{
    CardAndFolder table;
    table.host.style("* > .personal-menu { menu-style: list }");
    table.addMenu(CardAndFolder::kRelative);
    table.down();
    const auto& node = table.nodeOf(*table.menus()[0]);
    CHECK(node.hasCSSClass("list"));
    CHECK_FALSE(node.hasCSSClass("ring"));
}

TEST_CASE("menu: the node of a following menu has the card's rotation and the folder's offset, in degrees")
{
    CardAndFolder table(0.25f);
    table.set("follow-marker", true);
    table.addMenu(CardAndFolder::kRelative);
    table.addMenu(CardAndFolder::kAbsolute);
    double offset = PluginTest::kPi / 2;
    SUBCASE("90 at first") {}
    SUBCASE("as styled")
    {
        table.host.style("PersonalFolderWidget { rotation-offset: -45 }");
        table.folder->updateStyle();
        offset = -PluginTest::kPi / 4;
    }
    SUBCASE("in reverse mode too")
    {
        table.set("reverse-mode", true);
        table.up();
    }
    if (table.menus().empty())
        table.down();
    REQUIRE(table.menus().size() == 2);
    for (const auto* menu : table.menus()) {
        CHECK(sameDirection(table.nodeOf(*menu).rotation(), 0.25 + offset));
        CHECK(menu->rotation() == 0.f);
    }
    table.finishOpening();
    for (const auto* menu : table.menus()) {
        CHECK(sameDirection(table.nodeOf(*menu).rotation(), 0.25 + offset));
        CHECK(near(table.seenCentre(table.nodeOf(*menu)), kCard, 1.f));
    }
}

TEST_CASE("menu: the node of a menu that does not follow stands upright")
{
    CardAndFolder table(0.25f);
    table.addMenu(CardAndFolder::kRelative);
    table.down();
    CHECK(table.nodeOf(*table.menus()[0]).rotation() == 0.f);
    table.finishOpening();
    CHECK(table.nodeOf(*table.menus()[0]).rotation() == 0.f);
}

TEST_CASE("menu: in reverse mode, and only there, its node is marked for manual control, the menu around it is not")
{
    for (const bool reverse : {true, false}) {
        CAPTURE(reverse);
        CardAndFolder table;
        table.addMenu(CardAndFolder::kRelative);
        table.set("reverse-mode", reverse);
        reverse ? table.up() : table.down();
        REQUIRE(table.menus().size() == 1);
        CHECK(table.nodeOf(*table.menus()[0]).hasCSSClass("manual-control") == reverse);
        CHECK_FALSE(table.menus()[0]->hasCSSClass("manual-control"));
        table.finishOpening();
        CHECK(table.nodeOf(*table.menus()[0]).hasCSSClass("manual-control") == reverse);
    }
}
