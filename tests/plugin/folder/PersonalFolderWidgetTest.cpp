#include "folder/PersonalFolderWidget.hpp"

#include "LogCapture.hpp"
#include "Table.hpp"

#include <Tavola/Utils.hpp>

#include <doctest/doctest.h>

using PluginTest::CardAndFolder;
using PluginTest::FolderItem;
using PluginTest::isTemporary;
using PluginTest::kCard;
using PluginTest::kStyledPlace;
using PluginTest::near;
using PluginTest::operatorsOf;
using PluginTest::sameDirection;
using PluginTest::Strings;
using Tavola::LaunchedContentOperator;
using Tavola::MarkerTrackerOperator;
using Tavola::PersonalFolderWidget;
using Vecta::Vector2f;

TEST_CASE("folder: it has its CSS type, and its attributes with their defaults")
{
    CardAndFolder table;
    CHECK(table.folder->cssType() == "PersonalFolderWidget");
    Strings own;
    const Trellis::Widget plain;
    for (const auto* attribute : table.folder->attributes())
        if (!plain.attribute(attribute->name()))
            own.push_back(attribute->name().toStdString() + " " + attribute->toText().toStdString());
    own.erase(own.begin(), own.end() - 5);
    CHECK(own
          == Strings{"content-opening-duration 0.3", "follow-marker false", "dismiss-widgets false", "rotation-offset 90",
                     "reverse-mode false"});
}

TEST_CASE("folder: the component creates a folder with its instance, which the host finds by the widget")
{
    CardAndFolder table;
    CHECK_FALSE(table.folder->parent());
    CHECK(table.host.tavola().widgetInstance(table.folder->id()));
}

TEST_CASE("folder: card down opens all relative and then all absolute contents")
{
    CardAndFolder table;
    table.addItem(CardAndFolder::kAbsolute, "a1");
    table.addItem(CardAndFolder::kRelative, "r1");
    table.addItem(CardAndFolder::kAbsolute, "a2");
    table.addItem(CardAndFolder::kRelative, "r2");
    table.down();
    CHECK(table.itemNames() == Strings{"r1", "r2", "a1", "a2"});
    // The absolute ones are made when the relative ones have been opened.
    CHECK(*table.log
          == Strings{"r1 made", "r2 made", "r1 took card", "r2 took card", "a1 made", "a2 made", "a1 took card", "a2 took card"});
    for (const auto* item : table.items())
        CHECK(isTemporary(*item));
}

TEST_CASE("folder: items and menus open above what stands on the table, in the order of their slot")
{
    CardAndFolder table;
    const Bedrock::IntrusivePtr<Trellis::Widget> other(new Trellis::Widget(&table.host.mainWidget()));
    table.addItem(CardAndFolder::kRelative, "before");
    table.addMenu(CardAndFolder::kRelative);
    table.addItem(CardAndFolder::kRelative, "after");
    table.addItem(CardAndFolder::kAbsolute, "a");
    table.down();
    const auto& children = table.host.mainWidget().children();
    REQUIRE(children.size() == 5);
    CHECK(children[0] == other);
    CHECK(children[1].get() == &table.item("before"));
    CHECK(dynamic_cast<Tavola::ContentMenuWidget*>(children[2].get()));
    CHECK(children[3].get() == &table.item("after"));
    CHECK(children[4].get() == &table.item("a"));
    CHECK_FALSE(table.item("before").hasCSSClass("personal-menu"));
}

TEST_CASE("folder: opened items are raised in their layer, and the layer is not raised on the table")
{
    CardAndFolder table;
    const auto layers = table.host.mainWidget().parent()->children();
    REQUIRE(layers.back() != &table.host.mainWidget());
    table.addItem(CardAndFolder::kRelative, "r");
    table.addItem(CardAndFolder::kAbsolute, "a");
    table.addMenu(CardAndFolder::kRelative);
    table.down();
    REQUIRE(table.items().size() == 2);
    CHECK(table.host.mainWidget().parent()->children() == layers);
    table.finishOpening();
    CHECK(table.host.mainWidget().parent()->children() == layers);
}

TEST_CASE("folder: an item has its opening before its tracker, and is no temporary content before it is tracked")
{
    CardAndFolder table;
    bool checked = false;
    const auto item = Bedrock::makeIntrusive<FolderItem>("watched");
    item->onTake = [&] {
        checked = true;
        CHECK(item->parent() == &table.host.mainWidget());
        CHECK(operatorsOf<LaunchedContentOperator>(*item).size() == 1);
        CHECK(operatorsOf<MarkerTrackerOperator>(*item).empty());
        CHECK_FALSE(isTemporary(*item));
    };
    table.component->assign(CardAndFolder::kRelative, std::make_shared<Tavola::WidgetComponent>([item] { return item; }));
    // The width changes in the moment in which the class is added.
    table.host.style(QString(".%1 { width: 130px }").arg(QString::fromUtf8(Tavola::Utils::temporaryWidgetCSSClass())));
    std::size_t operatorsBeforeClass = 0;
    item->attribute("width")->addListener([&] { operatorsBeforeClass = item->operators().size(); });
    table.down();
    CHECK(checked);
    CHECK(operatorsBeforeClass == 2);
    REQUIRE(item->operators().size() == 2);
    CHECK(dynamic_cast<LaunchedContentOperator*>(item->operators()[0].get()));
    CHECK(dynamic_cast<MarkerTrackerOperator*>(item->operators()[1].get()));
    CHECK(isTemporary(*item));
    item->onTake = nullptr;
    table.component.reset();
}

TEST_CASE("folder: relative items end at their styled place from the card, absolute ones with their centre at it")
{
    CardAndFolder table(0.7f);
    table.addItem(CardAndFolder::kRelative, "r");
    table.addItem(CardAndFolder::kAbsolute, "a");
    table.down();
    table.finishOpening();
    CHECK(near(table.item("r").location(), kCard + kStyledPlace));
    CHECK(near(table.item("a").centerLocation(), kCard));
    CHECK(table.item("r").rotation() == 0.f);
    CHECK(table.item("a").rotation() == 0.f);
}

TEST_CASE("folder: the card's place is mapped into a main widget that is turned and scaled")
{
    CardAndFolder table;
    table.host.mainWidget().setScale(0.5f);
    table.host.mainWidget().setRotation(0.4f);
    table.host.mainWidget().setLocation({50.f, -20.f});
    table.addItem(CardAndFolder::kRelative, "r");
    table.addItem(CardAndFolder::kAbsolute, "a");
    table.down();
    table.finishOpening();
    CHECK(near(table.seenCentre(table.item("a")), kCard, 0.2f));
    CHECK(near(table.item("r").location(), table.host.mainWidget().mapFromScene(kCard) + kStyledPlace, 0.2f));
}

TEST_CASE("folder: the opening takes as long as the attribute says")
{
    for (const bool isStyled : {false, true}) {
        CAPTURE(isStyled);
        CardAndFolder table;
        table.addItem(CardAndFolder::kRelative, "r");
        if (isStyled) {
            table.host.style("PersonalFolderWidget { content-opening-duration: 2 }");
            table.folder->updateStyle();
        }
        table.down();
        table.host.frame(isStyled ? 1.9 : 0.25);
        CHECK(operatorsOf<LaunchedContentOperator>(table.item("r")).size() == 1);
        table.host.frame(isStyled ? 0.2 : 0.1);
        CHECK(operatorsOf<LaunchedContentOperator>(table.item("r")).empty());
    }
}

TEST_CASE("folder: each card that comes down opens contents of its own")
{
    CardAndFolder table;
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    const auto otherId = table.putDown(PluginTest::newCode(), {300.f, 200.f});
    table.folder->personalMarkerDown(*table.card(otherId));
    table.finishOpening();
    REQUIRE(table.items().size() == 2);
    CHECK(near(table.items()[0]->location(), kCard + kStyledPlace));
    CHECK(near(table.items()[1]->location(), Vector2f(300.f, 200.f) + kStyledPlace));
}

TEST_CASE("folder: a component that is in a slot twice opens twice, and one that was removed does not open any more")
{
    CardAndFolder table;
    const auto one = table.itemComponent("r");
    table.component->assign(CardAndFolder::kRelative, one);
    table.component->assign(CardAndFolder::kRelative, one);
    table.down();
    CHECK(table.itemNames() == Strings{"r", "r"});
    table.component->unassign(CardAndFolder::kRelative, one);
    table.component->unassign(CardAndFolder::kRelative, one);
    table.down();
    CHECK(table.items().size() == 2); // an open item stays
}

TEST_CASE("folder: without an instance nothing opens")
{
    CardAndFolder table;
    const CardAndFolder::Folder* const before = table.folder.get();
    const auto lonely = Bedrock::makeIntrusive<PersonalFolderWidget>();
    REQUIRE(lonely.get() != before);
    lonely->personalMarkerDown(*table.card(table.id));
    lonely->createContents(*table.card(table.id));
    CHECK(table.host.mainWidget().children().empty());
}

TEST_CASE("folder: an empty one opens nothing")
{
    CardAndFolder table;
    table.down();
    table.up();
    CHECK(table.host.mainWidget().children().empty());
}

TEST_CASE("folder: an assignment whose widget cannot be created, or that is no widget, costs only itself")
{
    CardAndFolder table;
    const auto assign = [&table](const char* name, Tavola::WidgetComponent::WidgetFunction create) {
        const auto component = std::make_shared<Tavola::WidgetComponent>(std::move(create));
        component->setName(name);
        table.component->assign(CardAndFolder::kRelative, component);
    };
    table.addItem(CardAndFolder::kRelative, "first");
    assign("broken", [] { return Bedrock::IntrusivePtr<Trellis::Widget>(); });
    table.addItem(CardAndFolder::kRelative, "second");
    assign("", []() -> Bedrock::IntrusivePtr<Trellis::Widget> { throw std::runtime_error("no memory for it"); });
    table.component->assign(CardAndFolder::kAbsolute, std::make_shared<Tavola::Component>());
    table.addItem(CardAndFolder::kAbsolute, "third");
    TestSupport::expectWarning("UIComponent::createInstance # Component 'broken' made no widget");
    TestSupport::expectError("UIComponent::createInstance # Component '' failed (no memory for it)");
    table.down();
    CHECK(table.itemNames() == Strings{"first", "second", "third"});
}

TEST_CASE("folder: an item and a menu may be placed under any parent")
{
    CardAndFolder table;
    const Bedrock::IntrusivePtr<Trellis::Widget> parent(new Trellis::Widget(&table.host.mainWidget()));
    const auto item = Bedrock::makeIntrusive<FolderItem>();
    table.addMenu(CardAndFolder::kAbsolute);
    const auto menu = Bedrock::dynamicPointerCast<Tavola::ContentMenuWidget>(
        std::dynamic_pointer_cast<Tavola::UIComponent>(table.component->assignments(CardAndFolder::kAbsolute).front())
            ->createContentWidget());
    table.folder->handleWidget(*item, {100.f, 80.f}, *parent, true, *table.card(table.id));
    table.folder->handleMenu(*menu, {100.f, 80.f}, *parent, *table.card(table.id));
    CHECK(item->parent() == parent.get());
    CHECK(menu->parent() == parent.get());
    table.finishOpening();
    CHECK(near(item->location(), Vector2f(100.f, 80.f) + kStyledPlace));
    CHECK(near(parent->mapFromScene(table.seenCentre(table.nodeOf(*menu))), {100.f, 80.f}, 1.f));
}

TEST_CASE("folder: without an application nothing opens")
{
    CardAndFolder table;
    table.addItem(CardAndFolder::kRelative, "r");
    const auto marker = *table.card(table.id);
    table.host.destroyTavola();
    table.folder->personalMarkerDown(marker);
    table.set("reverse-mode", true);
    table.folder->personalMarkerDown(marker);
    table.folder->personalMarkerUp(marker);
    CHECK(*table.log == Strings{});
}

// ---- Following -------------------------------------------------------------------------------------------------------

TEST_CASE("follow: with follow-marker relative items and menus move with the card, absolute items never do")
{
    for (const bool follow : {true, false}) {
        CAPTURE(follow);
        CardAndFolder table;
        table.set("follow-marker", follow);
        table.set("rotation-offset", 0.f);
        table.addItem(CardAndFolder::kRelative, "r");
        table.addItem(CardAndFolder::kAbsolute, "a");
        table.addMenu(CardAndFolder::kRelative);
        table.addMenu(CardAndFolder::kAbsolute);
        table.down();
        table.finishOpening();
        REQUIRE(table.menus().size() == 2);
        const auto places = [&] {
            return std::vector<Vector2f>{table.seen(table.item("r")), table.seen(table.nodeOf(*table.menus()[0])),
                                         table.seen(table.nodeOf(*table.menus()[1])), table.seen(table.item("a"))};
        };
        const auto before = places();
        const Vector2f way(45.f, -25.f);
        table.moveCard(kCard + way);
        const auto after = places();
        for (std::size_t i = 0; i < before.size(); ++i) {
            CAPTURE(i);
            CHECK(near(after[i], follow && i < 3 ? before[i] + way : before[i]));
        }
    }
}

TEST_CASE("follow: the attribute counts as it is when the content is opened")
{
    CardAndFolder table;
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    table.set("follow-marker", true);
    table.finishOpening();
    table.moveCard({700.f, 500.f});
    CHECK(near(table.item("r").location(), kCard + kStyledPlace));
}

TEST_CASE("follow: a following item has the card's rotation and the folder's offset, in degrees")
{
    CardAndFolder table(0.25f);
    table.set("follow-marker", true);
    table.addItem(CardAndFolder::kRelative, "r");
    table.addItem(CardAndFolder::kAbsolute, "a");
    double offset = PluginTest::kPi / 2;
    SUBCASE("90 at first") {}
    SUBCASE("as styled")
    {
        table.host.style("PersonalFolderWidget { rotation-offset: -45 }");
        table.folder->updateStyle();
        offset = -PluginTest::kPi / 4;
    }
    table.down();
    CHECK(sameDirection(table.item("r").rotation(), 0.25 + offset));
    CHECK(table.item("a").rotation() == 0.f);
    table.finishOpening();
    CHECK(sameDirection(table.item("r").rotation(), 0.25 + offset));
}

TEST_CASE("follow: a style sheet that keeps items from following keeps them upright, also at the start")
{
    CardAndFolder table(0.25f);
    table.set("follow-marker", true);
    table.host.style("FolderItem > marker-tracker-operator { move-widget-with-marker: false }");
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    CHECK(table.item("r").rotation() == 0.f);
    table.finishOpening();
    table.moveCard(kCard + Vector2f(30.f, 20.f), 1.0);
    CHECK(table.item("r").rotation() == 0.f);
    CHECK(near(table.item("r").location(), kCard + kStyledPlace));
}

TEST_CASE("follow: with several cards each item goes with the card that opened it")
{
    CardAndFolder table;
    table.set("follow-marker", true);
    table.set("rotation-offset", 0.f);
    table.addItem(CardAndFolder::kRelative, "r");
    table.down();
    const auto otherId = table.putDown(PluginTest::newCode(), {300.f, 200.f});
    table.folder->personalMarkerDown(*table.card(otherId));
    table.finishOpening();
    table.host.input.markerMove(otherId, {310.f, 200.f});
    table.moveCard(kCard + Vector2f(0.f, 20.f));
    CHECK(near(table.items()[0]->location(), kCard + kStyledPlace + Vector2f(0.f, 20.f)));
    CHECK(near(table.items()[1]->location(), Vector2f(310.f, 200.f) + kStyledPlace));
}
