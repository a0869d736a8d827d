#include "folder/PersonalFolderWidget.hpp"

#include "LogCapture.hpp"
#include "Table.hpp"

#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

// Folders that open when a card is lifted.

using PluginTest::CardAndFolder;
using PluginTest::FolderItem;
using PluginTest::kCard;
using PluginTest::kStyledPlace;
using PluginTest::near;
using PluginTest::operatorsOf;
using PluginTest::Strings;
using Tavola::MarkerTrackerOperator;
using Vecta::Vector2f;

namespace
{

/// A folder in reverse mode with two items, and a card that was lifted from it.
struct ReverseTable : PluginTest::Table
{
    Tactile::Marker marker{1, 1, {0.f, 0.f}};
    Tactile::Marker other{9999, 4242, {300.f, 200.f}};

    explicit ReverseTable(bool dismiss = true)
    {
        addFolder();
        putCard();
        set("reverse-mode", true);
        set("dismiss-widgets", dismiss);
        addItem(kRelative, "r");
        addItem(kAbsolute, "a");
        marker = *card(id);
        lift(id);
    }
    void down() { folder->personalMarkerDown(marker); }
    void up() { folder->personalMarkerUp(marker); }
    /// Lets what was dismissed go.
    void settle() { host.frames(30); }
};
}

TEST_CASE("reverse mode: card up opens, and the next card down dismisses")
{
    ReverseTable table;
    table.down();
    CHECK(table.items().empty());
    table.up();
    CHECK(table.itemNames() == Strings{"r", "a"});
    table.settle();
    CHECK(table.items().size() == 2);
    table.down();
    for (const auto* item : table.items())
        CHECK(Trellis::FadeAnimator::isFadingOut(*item));
    table.settle();
    CHECK(table.items().empty());
}

TEST_CASE("reverse mode: the card down dismisses exactly what the same marker id opened")
{
    struct Row
    {
        const char* what;
        std::vector<std::int64_t> down; ///< ids of cards: 1 and 2 opened two items each
        std::vector<int> left;
    };
    const Row rows[] = {{"the first card", {1}, {2, 3}},
                        {"the second card", {2}, {0, 1}},
                        {"a card that opened nothing", {77}, {0, 1, 2, 3}},
                        {"both cards, in turn", {1, 2}, {}}};
    for (const Row& row : rows) {
        CAPTURE(row.what);
        ReverseTable table;
        table.up();
        table.folder->personalMarkerUp(table.other);
        const auto before = table.items();
        REQUIRE(before.size() == 4);
        for (const std::int64_t id : row.down)
            table.folder->personalMarkerDown(id == 1       ? table.marker
                                                 : id == 2 ? table.other
                                                           : Tactile::Marker(id, table.marker.code(), kCard));
        table.settle();
        std::vector<FolderItem*> left;
        for (const int i : row.left)
            left.push_back(before[std::size_t(i)]);
        CHECK(table.items() == left);
    }
}

TEST_CASE("reverse mode: each card down dismisses all that its liftings opened, once")
{
    struct Row
    {
        const char* what;
        const char* cards; ///< u: lifted, d: put down, o: the other card is lifted; then the number of items after that
    };
    for (const Row& row :
         {Row{"a second card down does nothing", "ud0 odd2"}, Row{"two liftings are dismissed by one card down", "uu4 d0"},
          Row{"after a dismissal the card opens anew", "ud0 u2 d0"}}) {
        CAPTURE(row.what);
        ReverseTable table;
        for (const char* step = row.cards; *step; ++step) {
            CAPTURE(step);
            switch (*step) {
            case 'u': table.up(); break;
            case 'd': table.down(); break;
            case 'o': table.folder->personalMarkerUp(table.other); break;
            case ' ': break;
            default: table.settle(); CHECK(table.items().size() == std::size_t(*step - '0'));
            }
        }
    }
}

TEST_CASE("reverse mode: without dismiss-widgets items stay, and lose manual-control when the card comes down")
{
    ReverseTable table(false);
    table.up();
    table.settle();
    for (const auto* item : table.items())
        CHECK(item->hasCSSClass("manual-control"));
    table.down();
    table.settle();
    REQUIRE(table.items().size() == 2);
    for (const auto* item : table.items()) {
        CHECK_FALSE(item->hasCSSClass("manual-control"));
        CHECK(item->operators().empty());
    }
}

TEST_CASE("reverse mode: an item that was removed meanwhile is skipped")
{
    ReverseTable table;
    table.up();
    table.settle();
    table.item("r").removeFromParent();
    table.host.frames(2);
    table.down();
    table.settle();
    CHECK(table.items().empty());
}

TEST_CASE("reverse mode: an item whose tracker has ended meanwhile is left alone")
{
    ReverseTable table;
    table.up();
    table.settle();
    auto& item = table.item("r");
    item.removeOperator(*operatorsOf<MarkerTrackerOperator>(item).at(0));
    table.down();
    table.settle();
    CHECK(table.itemNames() == Strings{"r"});
}

TEST_CASE("reverse mode: items stay when the folder is destroyed")
{
    ReverseTable table;
    table.up();
    table.folder.reset();
    table.component.reset();
    table.settle();
    CHECK(table.items().size() == 2);
}

TEST_CASE("reverse mode: items neither follow nor are dismissed while the card lies, moves and is lifted")
{
    ReverseTable table;
    table.set("follow-marker", true);
    table.up();
    table.settle();
    const auto location = table.item("r").location();
    CHECK(table.putDown(table.code, {610.f, 410.f}) == table.id);
    table.moveCard({800.f, 600.f});
    table.lift(table.id);
    table.settle();
    CHECK(table.items().size() == 2);
    CHECK(table.item("r").location() == location);
}

TEST_CASE("reverse mode: no item receives a card that was lifted")
{
    ReverseTable table;
    table.up();
    for (const auto* item : table.items())
        CHECK(item->taken.empty());
}

TEST_CASE("reverse mode: items open where the card was lifted")
{
    ReverseTable table;
    table.up();
    table.settle();
    CHECK(near(table.item("a").centerLocation(), kCard));
    CHECK(near(table.item("r").location(), kCard + kStyledPlace));
}

TEST_CASE("reverse mode: menus close their node when the card comes down")
{
    CardAndFolder table;
    table.set("reverse-mode", true);
    table.set("dismiss-widgets", true);
    table.addMenu(CardAndFolder::kAbsolute);
    const auto marker = *table.card(table.id);
    table.lift(table.id);
    table.folder->personalMarkerUp(marker);
    table.host.frames(30);
    REQUIRE(table.menus().size() == 1);
    const Bedrock::IntrusivePtr<Tavola::ContentMenuWidget> menu(table.menus()[0]);
    const auto* node = &table.nodeOf(*menu);
    CHECK(node->isVisible());
    table.folder->personalMarkerDown(marker);
    table.host.frames(30);
    CHECK_FALSE(menu->findByType("ContentMenuNode"));
}

TEST_CASE("reverse mode: items that were opened outside it are not dismissed by a later card down")
{
    CardAndFolder table;
    table.set("dismiss-widgets", true);
    table.addItem(CardAndFolder::kRelative, "r");
    const auto marker = *table.card(table.id);
    table.down();
    table.set("reverse-mode", true);
    table.folder->personalMarkerDown(marker);
    table.host.frames(30);
    CHECK(table.items().size() == 1);
}
