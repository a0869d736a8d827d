#include <doctest/doctest.h>

#include "menu/ContentMenuNode.hpp"

#include "MenuHost.hpp"

#include <Trellis/GrabManager.hpp>
#include <Trellis/TextWidget.hpp>
#include <Vecta/Angle.hpp>

#include <cmath>

using Tavola::ContentMenuNode;
using Tavola::Menu;
using Tavola::MenuEntry;
using Tavola::MenuStyle;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
std::vector<MenuEntry> entriesNamed(int count)
{
    std::vector<MenuEntry> entries(std::size_t(std::max(0, count)));
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i].text = QStringLiteral("Entry %1").arg(i);
    return entries;
}

/// One node with its middle at (900, 500), and the taps it reported.
struct Node
{
    explicit Node(MenuStyle style, std::vector<MenuEntry> entries = entriesNamed(4))
        : menu(std::make_shared<Menu>(Menu{std::move(entries)})),
          widget(new ContentMenuNode(&host.mainWidget(), style, menu, menu->entries,
                                     {[this](ContentMenuNode&, std::size_t entry) { taps.push_back(int(entry)); },
                                      [this](ContentMenuNode&) { ++closings; }}))
    {
        widget->arrange();
        widget->setCenterLocation({900.f, 500.f});
        host.frame();
    }
    [[nodiscard]] Trellis::Widget& entry(std::size_t index) const { return MenuHost::entry(*widget, index); }
    [[nodiscard]] Trellis::Widget& close() const { return *MenuHost::withClass(*widget, "menu-close").at(0); }
    void tap(const Trellis::Widget& target) { host.tap(MenuHost::sceneCenter(target)); }

    TestHost host;
    std::vector<int> taps;
    int closings = 0;
    std::shared_ptr<Menu> menu;
    Bedrock::IntrusivePtr<ContentMenuNode> widget;
};

bool isNear(Vector2f a, Vector2f b)
{
    return (a - b).length() < 0.5f;
}
}

TEST_CASE("menu node: a style sheet can say an entry by its id in other words")
{
    auto entries = entriesNamed(2);
    entries[1].id = QStringLiteral("visit");
    Node node(MenuStyle::List, entries);
    const auto textOf = [&](std::size_t index) {
        const auto found = MenuHost::withClass(node.entry(index), "menu-text");
        return dynamic_cast<const Trellis::TextWidget&>(*found.at(0)).text();
    };
    CHECK(node.entry(1).cssId() == "visit");
    CHECK(textOf(1) == "Entry 1");
    node.host.style("#visit .menu-text { text: \"Besuch\"; }");
    CHECK(textOf(1) == "Besuch");
    CHECK(textOf(0) == "Entry 0");
}

TEST_CASE("menu node: the entries of a ring stand round its middle, the first one at the top, and free of one another")
{
    for (const int count : {1, 2, 3, 7, 20}) {
        CAPTURE(count);
        const Node node(MenuStyle::Ring, entriesNamed(count));
        CHECK(node.widget->hasCSSClass("ring"));
        const Vector2f middle = node.widget->size() * 0.5f;
        CHECK(isNear(node.close().centerLocation(), middle));
        const Vector2f first = node.entry(0).centerLocation() - middle;
        CHECK(std::abs(first.x) < 0.5f);
        CHECK(first.y < -74.f);
        for (int i = 0; i < count; ++i) {
            const auto& here = node.entry(std::size_t(i));
            const Vector2f arm = here.centerLocation() - middle;
            CHECK(arm.length() == doctest::Approx(first.length()).epsilon(0.01));
            CHECK(arm.length() + here.width() / 2.f <= node.widget->width() / 2.f);
            const auto& next = node.entry(std::size_t((i + 1) % count));
            if (count > 1)
                CHECK((here.centerLocation() - next.centerLocation()).length() >= here.width() + 9.5f);
        }
    }
}

TEST_CASE("menu node: one without entries has its button all the same")
{
    for (const MenuStyle style : {MenuStyle::Ring, MenuStyle::List}) {
        Node node(style, {});
        CHECK(node.widget->entries().empty());
        CHECK(node.widget->width() > 0.f);
        node.tap(node.close());
        CHECK(node.closings == 1);
    }
}

TEST_CASE("menu node: the entries of a list stand below one another")
{
    const Node node(MenuStyle::List, entriesNamed(3));
    CHECK(node.widget->hasCSSClass("list"));
    for (std::size_t i = 1; i < 3; ++i) {
        CHECK(node.entry(i).location().x == node.entry(0).location().x);
        CHECK(node.entry(i).location().y == doctest::Approx(node.entry(i - 1).location().y + node.entry(i - 1).height() + 6.f));
    }
    CHECK(node.widget->height() == doctest::Approx(node.entry(2).location().y + node.entry(2).height() + 10.f));
}

TEST_CASE("menu node: an entry has the parts that its file names, and no more")
{
    std::vector<MenuEntry> entries(4);
    entries[0].text = QStringLiteral("Text");
    entries[2].text = QStringLiteral("More");
    entries[2].entries = entriesNamed(1);
    for (const MenuStyle style : {MenuStyle::Ring, MenuStyle::List}) {
        const Node node(style, entries);
        CHECK(MenuHost::withClass(node.entry(0), "menu-text").size() == 1);
        CHECK(MenuHost::withClass(node.entry(0), "menu-icon").empty());
        CHECK_FALSE(node.entry(0).hasCSSClass("has-entries"));
        CHECK(node.entry(1).children().empty());
        CHECK(node.entry(2).hasCSSClass("has-entries"));
        CHECK(MenuHost::withClass(node.entry(2), "menu-more").size() == 1);
        CHECK(node.entry(3).children().empty());
        const auto& text = dynamic_cast<Trellis::TextWidget&>(*MenuHost::withClass(node.entry(2), "menu-text").at(0));
        CHECK(text.text() == "More");
    }
}

TEST_CASE("menu node: an icon stands in its entry")
{
    const QTemporaryDir folder;
    QImage icon(8, 8, QImage::Format_RGB32);
    icon.fill(Qt::red);
    std::vector<MenuEntry> entries(2);
    entries[0].icon = entries[1].icon = folder.filePath("icon.png");
    entries[1].text = QStringLiteral("With words");
    REQUIRE(icon.save(entries[0].icon));
    for (const MenuStyle style : {MenuStyle::Ring, MenuStyle::List}) {
        Node node(style, entries);
        REQUIRE(node.host.frameUntil([&] { return node.host.app().pendingImages() == 0; }));
        for (const std::size_t i : {0u, 1u}) {
            const auto icons = MenuHost::withClass(node.entry(i), "menu-icon");
            REQUIRE(icons.size() == 1);
            const Vector2f point = MenuHost::sceneCenter(*icons[0]);
            CHECK(node.host.app().renderToImage().pixelColor(int(point.x), int(point.y)) == QColor(Qt::red));
        }
    }
}

TEST_CASE("menu node: taps are reported with the number of their entry, a drag is none")
{
    Node node(MenuStyle::Ring);
    node.tap(node.entry(2));
    node.tap(node.entry(0));
    CHECK(node.taps == std::vector<int>{2, 0});
    node.tap(node.close());
    CHECK(node.closings == 1);
    const Vector2f from = MenuHost::sceneCenter(node.entry(1));
    node.host.dragAndDrop(1, from, from + Vector2f(200.f, 0.f));
    CHECK(node.taps.size() == 2);
}

TEST_CASE("menu node: a handler of a tap may remove the node, and there need be none")
{
    TestHost host;
    const auto menu = std::make_shared<Menu>(Menu{entriesNamed(2)});
    ContentMenuNode::Handlers handlers;
    SUBCASE("a tap on an entry")
    {
        handlers.entryTapped = [](ContentMenuNode& node, std::size_t) { node.removeFromParent(); };
    }
    SUBCASE("a tap on the button")
    {
        handlers.closeTapped = [](ContentMenuNode& node) { node.removeFromParent(); };
    }
    SUBCASE("no handler") {}
    const bool isHeard = handlers.entryTapped || handlers.closeTapped;
    const Bedrock::IntrusiveWeakPtr<ContentMenuNode> node(
        new ContentMenuNode(&host.mainWidget(), MenuStyle::List, menu, menu->entries, handlers));
    node.lock()->setCenterLocation({900.f, 500.f});
    host.frame();
    host.tap(MenuHost::sceneCenter(MenuHost::entry(*node.lock(), 1)));
    if (node)
        host.tap(MenuHost::sceneCenter(*MenuHost::withClass(*node.lock(), "menu-close").at(0)));
    host.frame();
    CHECK(bool(node) == !isHeard);
}

TEST_CASE("menu node: an entry shows fingers on it until the last one leaves, and what is open")
{
    Node node(MenuStyle::Ring);
    const Vector2f point = MenuHost::sceneCenter(node.entry(1));
    node.host.input.fingerDown(1, point);
    node.host.input.fingerDown(2, point + Vector2f(10.f, 0.f));
    node.host.frame();
    CHECK(node.entry(1).hasCSSClass("pressed"));
    node.host.input.fingerUp(1);
    node.host.frame();
    CHECK(node.entry(1).hasCSSClass("pressed"));
    node.host.input.fingerUp(2);
    node.host.frame();
    CHECK_FALSE(node.entry(1).hasCSSClass("pressed"));

    node.widget->setOpen(1, true);
    node.widget->setOpen(1, true);
    CHECK(node.entry(1).hasCSSClass("open"));
    CHECK_FALSE(node.entry(0).hasCSSClass("open"));
    node.widget->setOpen(1, false);
    CHECK_FALSE(node.entry(1).hasCSSClass("open"));
}

TEST_CASE("menu node: what is put beside an entry of a ring stands outside it, in the entry's direction")
{
    const Node node(MenuStyle::Ring);
    const Vector2f middle = node.widget->size() * 0.5f;
    const Vector2f size(200.f, 100.f);
    for (std::size_t i = 0; i < 4; ++i) {
        const Vector2f place = node.widget->placeBeside(i, size) - middle;
        const Vector2f entry = node.entry(i).centerLocation() - middle;
        CHECK(place.length() >= node.widget->width() / 2.f + 100.f);
        CHECK(Vecta::dot(place, entry) == doctest::Approx(place.length() * entry.length()).epsilon(0.001));
    }
}

TEST_CASE("menu node: what is put beside an entry of a list stands to the right, and to the left where the table ends")
{
    Node node(MenuStyle::List);
    const float width = node.widget->width();
    const Vector2f size(200.f, 100.f);
    const auto place = [&] { return node.widget->placeBeside(2, size); };
    CHECK(place().x == doctest::Approx(width + 100.f + 16.f));
    CHECK(place().y == doctest::Approx(node.entry(2).location().y + 50.f)); // begins level with the entry
    node.widget->setCenterLocation({1800.f, 500.f});
    CHECK(place().x == doctest::Approx(-100.f - 16.f));
    // Turned by half a turn its left side is what lies to the right.
    node.widget->setRotationAboutCenter(Vecta::kPiOf<float>);
    CHECK(place().x == doctest::Approx(width + 100.f + 16.f));
    // There is room on neither side.
    CHECK(node.widget->placeBeside(2, {1900.f, 100.f}).x == doctest::Approx(width + 950.f + 16.f));
}

TEST_CASE("menu node: it opens out of its point, and inside the table's edge where that is wanted")
{
    Node node(MenuStyle::Ring);
    const float radius = node.widget->width() / 2.f;
    SUBCASE("in the middle of the table")
    {
        node.widget->open({900.f, 500.f}, 0.2f, true);
        node.host.frames(2, 0.05);
        CHECK(node.widget->scale() < 1.f);
        CHECK(node.widget->opacity() < 1.f);
        node.host.frames(2, 0.1);
        CHECK(isNear(node.widget->centerLocation(), {900.f, 500.f}));
    }
    SUBCASE("at its corner")
    {
        node.widget->open({0.f, 0.f}, 0.2f, true);
        node.host.frames(3, 0.1);
        CHECK(isNear(node.widget->centerLocation(), {radius, radius}));
    }
    SUBCASE("at its corner, wherever that is")
    {
        node.widget->open({0.f, 0.f}, 0.2f, false);
        node.host.frames(3, 0.1);
        CHECK(isNear(node.widget->centerLocation(), {0.f, 0.f}));
    }
    CHECK(node.widget->scale() == 1.f);
    CHECK(node.widget->opacity() == 1.f);
    CHECK(node.widget->operators().empty());
    CHECK_FALSE(node.widget->isUpdating());
}

TEST_CASE("menu node: cards pass through its ground, its entries and its button")
{
    Node node(MenuStyle::Ring);
    const Vector2f ground = node.widget->mapToScene({node.widget->width() / 2.f, 5.f});
    for (const Vector2f point : {ground, MenuHost::sceneCenter(node.entry(0)), MenuHost::sceneCenter(node.close())}) {
        const auto card = node.host.input.markerDown(7, point);
        node.host.frame();
        CHECK(node.host.app().grabManager()->grabber(card) == &node.host.ui().background()->inputGrabber());
        node.host.input.markerUp(card);
        node.host.frame();
    }
    CHECK(node.taps.empty());
}
