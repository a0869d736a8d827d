#include "LogCapture.hpp"
#include "MenuHost.hpp"

#include <Tavola/ComponentUse.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/ImageWidget.hpp>
#include <Trellis/TextWidget.hpp>
#include <Vecta/Angle.hpp>

#include <cmath>

using TestSupport::expectWarning;
using Vecta::Vector2f;

namespace
{
constexpr float kPi = Vecta::kPiOf<float>;

bool isNearTo(Vector2f a, Vector2f b, float tolerance = 0.5f)
{
    return (a - b).length() < tolerance;
}

bool isOnTable(const Trellis::Widget& widget)
{
    const Vecta::Rect bounds = widget.sceneBounds();
    return bounds.x >= -0.5f && bounds.y >= -0.5f && bounds.x + bounds.width <= 1920.5f && bounds.y + bounds.height <= 1080.5f;
}

const char* const kTwoLevels = R"({"entries": [
    {"text": "Rooms", "entries": [
        {"text": "Red", "content": {"component": "panel", "classes": ["content", "red"]}},
        {"text": "Blue", "content": {"component": "panel", "classes": ["content", "blue"]}}]},
    {"text": "Map", "content": {"component": "panel", "classes": ["content", "map"]}}]})";
}

TEST_CASE("content menu: a ring stands round the point where it was opened")
{
    MenuHost table;
    for (const int count : {1, 2, 3, 8, 20}) {
        CAPTURE(count);
        const auto menu = table.menu(MenuHost::entriesOf(count));
        const auto node = menu->nodeWidget(menu->prepare({900.f, 540.f}));
        REQUIRE(node);
        table.host.frame(1.0);
        CHECK(node->cssType() == "ContentMenuNode");
        CHECK(node->hasCSSClass("ring"));
        CHECK(isNearTo(node->centerLocation(), {900.f, 540.f}));
        const auto entries = MenuHost::withClass(*node, "menu-entry");
        REQUIRE(entries.size() == std::size_t(count));
        const float radius = (MenuHost::sceneCenter(*entries[0]) - Vector2f(900.f, 540.f)).length();
        for (const auto* entry : entries) {
            CHECK((MenuHost::sceneCenter(*entry) - Vector2f(900.f, 540.f)).length() == doctest::Approx(radius));
            for (const auto* other : entries)
                CHECK((other == entry
                       || (MenuHost::sceneCenter(*entry) - MenuHost::sceneCenter(*other)).length() >= entry->width()));
        }
        // The first stands at the top, and the middle is free for the card.
        CHECK(isNearTo(MenuHost::sceneCenter(*entries[0]), {900.f, 540.f - radius}));
        CHECK(radius - entries[0]->width() / 2.f >= 60.f);
        menu->removeFromParent();
        table.host.frame();
    }
}

TEST_CASE("content menu: a list has its entries below one another, with icon and text")
{
    MenuHost table;
    table.write(QStringLiteral("icon.png"), "");
    const auto menu = table.menu(R"({"entries": [
        {"text": "Both", "icon": "icon.png", "content": {"component": "panel"}},
        {"text": "Text", "content": {"component": "panel"}},
        {"icon": "icon.png", "content": {"component": "panel"}}]})",
                                 "list");
    const auto node = menu->nodeWidget(menu->prepare({900.f, 540.f}));
    REQUIRE(node);
    CHECK(node->hasCSSClass("list"));
    const auto entries = MenuHost::withClass(*node, "menu-entry");
    REQUIRE(entries.size() == 3);
    for (std::size_t i = 1; i < 3; ++i)
        CHECK(entries[i]->location().y >= entries[i - 1]->location().y + entries[i - 1]->height());
    const auto iconOf = [](const Trellis::Widget& entry) {
        const auto icons = MenuHost::withClass(entry, "menu-icon");
        return icons.empty() ? QString() : dynamic_cast<Trellis::ImageWidget&>(*icons[0]).source();
    };
    const auto textOf = [](const Trellis::Widget& entry) {
        const auto texts = MenuHost::withClass(entry, "menu-text");
        return texts.empty() ? QString() : dynamic_cast<Trellis::TextWidget&>(*texts[0]).text();
    };
    CHECK(iconOf(*entries[0]) == table.path(QStringLiteral("icon.png")));
    CHECK(textOf(*entries[0]) == "Both");
    CHECK(iconOf(*entries[1]).isEmpty());
    CHECK(textOf(*entries[1]) == "Text");
    CHECK(iconOf(*entries[2]) == table.path(QStringLiteral("icon.png")));
    CHECK(textOf(*entries[2]).isEmpty());
    // The empty file is no picture, of which the pictures warn.
    TestSupport::expectWarningStartingWith("ImageWidget # Failed to load image ");
    CHECK(table.host.frameUntil([&] { return table.host.app().pendingImages() == 0; }));
}

TEST_CASE("content menu: what it launches speaks its language")
{
    MenuHost table;
    const auto menu = table.menu(MenuHost::entriesOf(3));
    menu->setPseudoClass("lang(de)", true);
    menu->setPseudoClass("other", true);
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    REQUIRE(node);
    table.host.frame(1.0);
    table.host.tap(MenuHost::sceneCenter(*MenuHost::withClass(*node, "menu-entry")[0]));
    REQUIRE(table.launched().size() == 1);
    CHECK(table.launched()[0]->pseudoClasses() == QList<QByteArray>{"lang(de)"});
}

TEST_CASE("content menu: an entry launches its content beside it, turned like the menu, as temporary content")
{
    MenuHost table;
    for (const char* style : {"ring", "list"}) {
        CAPTURE(style);
        const auto menu = table.menu(MenuHost::entriesOf(4), style);
        const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
        node->setRotationAboutCenter(kPi / 2.f);
        table.host.frame(1.0);
        table.host.frame();
        table.tap(MenuHost::entry(*node, 1));
        auto launched = table.launched();
        REQUIRE(launched.size() == 1);
        CHECK(launched[0]->hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()));
        CHECK(launched[0]->rotation() == doctest::Approx(kPi / 2.f));
        CHECK(launched[0]->opacity() < 1.f);
        table.host.frame(0.3);
        table.host.frame();
        CHECK(launched[0]->scale() == 1.f);
        CHECK(launched[0]->opacity() == 1.f);
        CHECK_FALSE(launched[0]->intersects(*node));
        CHECK(isOnTable(*launched[0]));
        // Each tap launches one more.
        table.tap(MenuHost::entry(*node, 1));
        CHECK(table.launched().size() == 2);
        for (auto* widget : table.launched())
            widget->removeFromParent();
        menu->removeFromParent();
        table.host.frame();
    }
}

TEST_CASE("content menu: what it launches has its full size when it is first updated")
{
    struct Probe final : Trellis::Widget
    {
        Probe()
        {
            setUpdating(true);
            setSize({400.f, 300.f});
            addCSSClass("content");
        }
        void update(const Trellis::FrameInfo&) override
        {
            if (!isSeen)
                seen = sceneBounds();
            isSeen = true;
        }
        Vecta::Rect seen;
        bool isSeen = false;
    };
    MenuHost table;
    addComponentOf<Probe>(table.host, "probe");
    const auto menu = table.menu(R"({"entries": [{"text": "Probe", "content": {"component": "probe"}}]})");
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frames(30);
    table.tap(MenuHost::entry(*node, 0));
    table.host.frames(2);
    REQUIRE(table.launched().size() == 1);
    const auto& probe = dynamic_cast<Probe&>(*table.launched()[0]);
    REQUIRE(probe.isSeen);
    CHECK(probe.scale() < 1.f); // and opens afterwards
    const Vecta::Rect first = probe.seen;
    CHECK(first.width == doctest::Approx(400.f));
    CHECK(first.height == doctest::Approx(300.f));
    table.host.frames(30);
    CHECK(probe.sceneBounds() == first);
}

TEST_CASE("content menu: an entry whose content cannot be made launches nothing, and the others go on")
{
    MenuHost table;
    addComponent(table.host, "broken",
                 []() -> Bedrock::IntrusivePtr<Trellis::Widget> { throw std::runtime_error("out of pens"); });
    const auto menu = table.menu(R"({"entries": [
        {"text": "Broken", "content": {"component": "broken"}},
        {"text": "Whole", "content": {"component": "panel", "classes": ["content"]}}]})");
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frames(30);
    TestSupport::expectError("UIComponent::createInstance # Component 'broken' failed (out of pens)");
    table.tap(MenuHost::entry(*node, 0));
    table.tap(MenuHost::entry(*node, 1));
    CHECK(table.launched().size() == 1);
}

TEST_CASE("content menu: an entry with entries opens them beside it, and closes them again")
{
    MenuHost table;
    for (const char* style : {"ring", "list"}) {
        CAPTURE(style);
        const auto menu = table.menu(kTwoLevels, style);
        const auto first = menu->prepare({960.f, 540.f});
        const auto node = menu->nodeWidget(first);
        table.host.frame(1.0);
        auto& rooms = MenuHost::entry(*node, 0);
        CHECK(rooms.hasCSSClass("has-entries"));
        CHECK_FALSE(MenuHost::entry(*node, 1).hasCSSClass("has-entries"));
        table.tap(rooms);
        CHECK(rooms.hasCSSClass("open"));
        const auto second = menu->nodeWidget(first + 1);
        REQUIRE(second);
        CHECK(second->parent() == node.get());
        table.host.frame(1.0);
        CHECK(isOnTable(*second));
        CHECK_FALSE(MenuHost::entry(*second, 0).intersects(rooms));
        // It goes where its opener goes.
        const Vector2f before = MenuHost::sceneCenter(*second);
        node->setLocation(node->location() + Vector2f(30.f, 10.f));
        CHECK(isNearTo(MenuHost::sceneCenter(*second), before + Vector2f(30.f, 10.f)));

        table.tap(MenuHost::entry(*second, 1));
        REQUIRE(table.launched().size() == 1);
        CHECK(table.launched()[0]->hasCSSClass("blue"));

        table.tap(rooms);
        CHECK_FALSE(rooms.hasCSSClass("open"));
        CHECK_FALSE(menu->nodeWidget(first + 1));
        table.host.frames(2, 0.2);
        CHECK_FALSE(second->parent());
        CHECK(node->parent());
        table.launched()[0]->removeFromParent();
        menu->removeFromParent();
        table.host.frame();
    }
}

TEST_CASE("content menu: a node fades for 0.2 seconds, and the menu goes with its last one")
{
    MenuHost table;
    const auto menu = table.menu(kTwoLevels);
    const auto one = menu->prepare({500.f, 540.f});
    const auto two = menu->prepare({1400.f, 540.f});
    CHECK(one != two);
    table.host.frame(1.0);
    const auto first = menu->nodeWidget(one);
    const auto second = menu->nodeWidget(two);
    menu->closeNode(one);
    CHECK_FALSE(menu->nodeWidget(one));
    table.host.frame(0.1);
    CHECK(first->opacity() == doctest::Approx(0.5f).epsilon(0.05));
    CHECK(first->parent());
    table.host.frame(0.11);
    table.host.frame();
    CHECK_FALSE(first->parent());
    CHECK(menu->parent());
    CHECK(second->parent());

    menu->closeNode(one); // known no more
    menu->closeNode(77);
    menu->closeNode(0);
    table.tap(MenuHost::entry(*second, 0));
    CHECK(menu->nodeWidget(two + 1));
    menu->closeNode(two);
    CHECK_FALSE(menu->nodeWidget(two + 1)); // what was opened from it
    CHECK(menu->parent());
    table.host.frames(4, 0.1);
    CHECK_FALSE(menu->parent());
}

TEST_CASE("content menu: the button in a node closes it")
{
    MenuHost table;
    for (const char* style : {"ring", "list"}) {
        CAPTURE(style);
        const auto menu = table.menu(kTwoLevels, style);
        const auto first = menu->prepare({960.f, 540.f});
        const auto node = menu->nodeWidget(first);
        table.host.frame(1.0);
        table.tap(MenuHost::entry(*node, 0));
        table.host.frame(1.0);
        const auto second = menu->nodeWidget(first + 1);
        REQUIRE(second);
        table.tap(*MenuHost::withClass(*second, "menu-close").at(0));
        CHECK_FALSE(menu->nodeWidget(first + 1));
        CHECK_FALSE(MenuHost::entry(*node, 0).hasCSSClass("open"));
        table.host.frames(3, 0.1);
        table.tap(*MenuHost::withClass(*node, "menu-close").at(0));
        CHECK_FALSE(menu->nodeWidget(first));
        table.host.frames(4, 0.1);
        CHECK_FALSE(menu->parent());
    }
}

TEST_CASE("content menu: several hands use it at once")
{
    MenuHost table;
    const auto menu = table.menu(R"({"entries": [
        {"text": "Rooms", "entries": [{"text": "Red", "content": {"component": "panel", "classes": ["content", "red"]}}]},
        {"text": "Tours", "entries": [{"text": "Long", "content": {"component": "panel", "classes": ["content", "long"]}}]},
        {"text": "Map", "content": {"component": "panel", "classes": ["content", "map"]}}]})");
    const auto first = menu->prepare({960.f, 540.f});
    const auto node = menu->nodeWidget(first);
    table.host.frame(1.0);
    // Three fingers press three entries, and let go in another order.
    for (int finger = 1; finger <= 3; ++finger)
        table.host.input.fingerDown(finger, MenuHost::sceneCenter(MenuHost::entry(*node, std::size_t(finger - 1))));
    table.host.frame();
    for (std::size_t i = 0; i < 3; ++i)
        CHECK(MenuHost::entry(*node, i).hasCSSClass("pressed"));
    for (const int finger : {2, 3, 1}) {
        table.host.input.fingerUp(finger);
        table.host.frame();
        CHECK_FALSE(MenuHost::entry(*node, std::size_t(finger - 1)).hasCSSClass("pressed"));
    }
    CHECK(menu->nodeWidget(first + 1)); // tours
    CHECK(menu->nodeWidget(first + 2)); // rooms
    CHECK(MenuHost::entry(*node, 0).hasCSSClass("open"));
    CHECK(MenuHost::entry(*node, 1).hasCSSClass("open"));
    REQUIRE(table.launched().size() == 1);
    CHECK(table.launched()[0]->hasCSSClass("map"));
    CHECK(isNearTo(node->centerLocation(), {960.f, 540.f})); // pressing moved nothing

    // One hand closes what another has open: the other's goes on.
    menu->closeNode(first + 1);
    CHECK(menu->nodeWidget(first + 2));
}

TEST_CASE("content menu: an entry shows that it is pressed, and that what it leads to is open")
{
    MenuHost table;
    const auto menu = table.menu(kTwoLevels);
    const auto first = menu->prepare({960.f, 540.f});
    const auto node = menu->nodeWidget(first);
    table.host.frame(1.0);
    auto& rooms = MenuHost::entry(*node, 0);
    const auto colour = [&] { return rooms.attribute("background-color")->toText(); };
    const QString atRest = colour();
    table.host.input.fingerDown(1, MenuHost::sceneCenter(rooms));
    table.host.frame();
    const QString pressed = colour();
    table.host.input.fingerUp(1);
    table.host.frame();
    const QString open = colour();
    CHECK(pressed != atRest);
    CHECK(open != atRest);
    CHECK(open != pressed);
    // A second finger on it is no tap; it is pressed until both have gone.
    table.host.input.fingerDown(1, MenuHost::sceneCenter(rooms));
    table.host.frame();
    table.host.input.fingerDown(2, MenuHost::sceneCenter(rooms) + Vector2f(10.f, 0.f));
    table.host.frame();
    table.host.input.fingerUp(1);
    table.host.frame();
    CHECK(rooms.hasCSSClass("pressed"));
    table.host.input.fingerUp(2);
    table.host.frame();
    CHECK_FALSE(rooms.hasCSSClass("pressed"));
    CHECK(colour() == open);
    menu->closeNode(first + 1);
    CHECK(colour() == atRest);
}

TEST_CASE("content menu: a finger on a node's ground moves it, with everything opened from it")
{
    MenuHost table;
    const auto menu = table.menu(MenuHost::entriesOf(4));
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frame(1.0);
    const Vector2f ground = node->mapToScene({node->width() / 2.f + 52.f, node->height() / 2.f + 52.f});
    table.host.dragAndDrop(1, ground, ground + Vector2f(100.f, 50.f));
    CHECK((node->centerLocation() - Vector2f(960.f, 540.f)).length() > 80.f);
    CHECK(table.launched().empty());
}

TEST_CASE("content menu: cards pass through it")
{
    MenuHost table;
    const auto menu = table.menu(MenuHost::entriesOf(4));
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frame(1.0);
    const Vector2f places[] = {MenuHost::sceneCenter(MenuHost::entry(*node, 0)),
                               {960.f, 540.f},
                               node->mapToScene({node->width() / 2.f + 52.f, node->height() / 2.f + 52.f})};
    unsigned long code = 1001;
    for (const Vector2f place : places) {
        const auto card = table.host.input.markerDown(code++, place);
        table.host.frame();
        CHECK(table.host.app().grabManager()->grabber(card) == &table.host.ui().background()->inputGrabber());
    }
}

TEST_CASE("content menu: what is opened at the table's edge stands on the table as it is turned")
{
    struct Row
    {
        Vector2f point;
        float rotation;
    };
    const Row rows[] = {{{0.f, 0.f}, 0.f},
                        {{1920.f, 1080.f}, kPi / 4.f},
                        {{1910.f, 500.f}, kPi / 2.f},
                        {{700.f, 1075.f}, -2.f},
                        {{-500.f, 3000.f}, 0.3f}};
    MenuHost table;
    for (const char* style : {"ring", "list"}) {
        for (const Row& row : rows) {
            CAPTURE(style);
            CAPTURE(row.point.x);
            CAPTURE(row.rotation);
            const auto menu = table.menu(kTwoLevels, style);
            const auto first = menu->prepare(row.point);
            const auto node = menu->nodeWidget(first);
            node->setRotation(row.rotation); // as a card turns it before the first frame
            table.host.frame(0.1);
            table.host.frame(0.3);
            CHECK(isOnTable(*node));
            CHECK(node->scale() == 1.f);
            table.tap(MenuHost::entry(*node, 0));
            const auto second = menu->nodeWidget(first + 1);
            REQUIRE(second);
            table.host.frame(0.4);
            CHECK(isOnTable(*second));
            table.tap(MenuHost::entry(*second, 0));
            REQUIRE(table.launched().size() == 1);
            table.host.frame(0.4);
            CHECK(isOnTable(*table.launched()[0]));
            table.launched()[0]->removeFromParent();
            menu->removeFromParent();
            table.host.frame();
        }
    }
}

TEST_CASE("content menu: content may be a menu of its own, also the same one")
{
    MenuHost table;
    const auto menu = table.menu(R"({"entries": [{"text": "Again", "content":
        {"component": "content-menu", "attributes": {"menu": {"file": "menu.json"}, "menu-style": "list"}}}]})");
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frame(1.0);
    table.tap(MenuHost::entry(*node, 0));
    const auto menus = table.host.mainWidget().findAllByType("ContentMenuWidget");
    REQUIRE(menus.size() == 2);
    CHECK(menus[1]->hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()));
    auto* const opened = menus[1]->findByType("ContentMenuNode");
    REQUIRE(opened);
    CHECK(opened->hasCSSClass("list"));
    table.host.frame(1.0);
    CHECK(isOnTable(*opened));
}

TEST_CASE("content menu: what is launched may take the menu away")
{
    MenuHost table;
    static Trellis::Widget* toRemove = nullptr;
    class Closer final : public Trellis::Widget
    {
    public:
        Closer() : Trellis::Widget(nullptr) { toRemove->removeFromParent(); }
    };
    addComponentOf<Closer>(table.host, "closer");
    const auto json =
        QByteArray(R"({"entries": [{"text": "Close", "content": {"component": "closer", "classes": ["content"]}}]})");
    auto menu = table.menu(json);
    auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frame(1.0);
    toRemove = menu.get();
    const Vector2f point = MenuHost::sceneCenter(MenuHost::entry(*node, 0));
    menu.reset();
    node.reset();
    table.host.tap(point);
    CHECK_FALSE(table.host.mainWidget().findByType("ContentMenuWidget"));
    CHECK(table.launched().size() == 1);
    table.host.frame();
}

TEST_CASE("content menu: a menu that leaves while it opens, and one that is destroyed with open nodes, leave nothing")
{
    MenuHost table; // whose end counts what is left
    const auto menu = table.menu(kTwoLevels);
    static_cast<void>(menu->prepare({960.f, 540.f}));
    table.host.frame();
    menu->removeFromParent();
    table.host.frame();
    const auto again = table.menu(kTwoLevels);
    const auto node = again->nodeWidget(again->prepare({960.f, 540.f}));
    again->closeNode(1);
    table.host.frame();
    again->removeFromParent();
    table.host.frame();
}

TEST_CASE("content menu: a style sheet reaches its look")
{
    MenuHost table;
    table.host.style(
        "ContentMenuNode.ring { inner-radius: 200px; background-color: #ffffff }"
        "ContentMenuNode .menu-entry { width: 60px; height: 60px } ContentMenuWidget { content-opening-duration: 2 }");
    const auto menu = table.menu(MenuHost::entriesOf(4));
    const auto node = menu->nodeWidget(menu->prepare({960.f, 540.f}));
    table.host.frames(2, 0.5);
    CHECK(node->scale() < 1.f);
    table.host.frame(1.0);
    CHECK(node->scale() == 1.f);
    CHECK(MenuHost::entry(*node, 0).width() == 60.f);
    CHECK((MenuHost::sceneCenter(MenuHost::entry(*node, 0)) - Vector2f(960.f, 540.f)).length() == doctest::Approx(230.f));
}

TEST_CASE("content menu: an open menu that is left alone costs nothing")
{
    MenuHost table;
    const auto menu = table.menu(kTwoLevels);
    static_cast<void>(menu->prepare({960.f, 540.f}));
    table.host.frame(1.0);
    table.host.frame();
    static_cast<void>(table.host.app().collectDamage());
    const auto before = table.host.app().counters();
    table.host.frames(10);
    const auto after = table.host.app().counters();
    CHECK(after.widgetsVisited == before.widgetsVisited);
    CHECK(after.widgetsArranged == before.widgetsArranged);
    CHECK(table.host.app().damage().empty());
}

TEST_CASE("content menu: one without entries or without a file opens nothing, and goes")
{
    MenuHost table;
    const auto broken = table.menu("{");
    TestSupport::expectWarningStartingWith("ContentMenuWidget # " + table.path(QStringLiteral("menu.json")).toStdString()
                                           + ":1:1: ");
    CHECK(broken->prepare({960.f, 540.f}) == 0);
    table.host.frame();
    CHECK_FALSE(broken->parent());

    const auto none = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>(&table.host.mainWidget());
    expectWarning("ContentMenuWidget # Menu '' has no file; set its attribute \"menu\"");
    CHECK(none->prepare({960.f, 540.f}) == 0);
    table.host.frame();
    CHECK_FALSE(none->parent());
}

TEST_CASE("content menu: opens what its file has when it opens")
{
    MenuHost table;
    const auto menu = table.menu(MenuHost::entriesOf(2));
    CHECK(MenuHost::withClass(*menu->nodeWidget(menu->prepare({500.f, 540.f})), "menu-entry").size() == 2);
    table.write(QStringLiteral("menu.json"), MenuHost::entriesOf(5));
    CHECK(MenuHost::withClass(*menu->nodeWidget(menu->prepare({960.f, 540.f})), "menu-entry").size() == 5);
}

TEST_CASE("content menu: files that are read ahead are not read when a menu opens, and their mistakes are reported before")
{
    MenuHost table;
    table.write(QStringLiteral("inner.json"), R"({"entries": [{"text": "Map", "content": {"component": "panel"}}, 7]})");
    table.write(QStringLiteral("outer.json"), R"({"entries": [
        {"text": "More", "entries": [
            {"text": "Inner", "content": {"component": "content-menu", "attributes": {"menu": {"file": "inner.json"}}}}]},
        {"text": "Again", "content": {"component": "content-menu", "attributes": {"menu": {"file": "outer.json"}}}}]})");
    Tavola::ComponentUse menu;
    menu.component = QStringLiteral("content-menu");
    menu.properties = QJsonObject{{"attributes", QJsonObject{{"menu", table.path(QStringLiteral("outer.json"))}}}};
    Tavola::ComponentUse folder;
    folder.component = QStringLiteral("personal-folder");
    folder.slotContents = {{QStringLiteral("content-widget-relative"), {menu}}};

    expectWarning("ContentMenuWidget # " + table.path(QStringLiteral("inner.json")).toStdString()
                  + ": entries[1]: expected an object such as { \"text\": \"Map\", \"content\": { \"component\": \"picture\" } "
                    "}; it is skipped");
    Tavola::ContentMenuWidget::readFiles(folder);
    // Nothing is reported a second time: it is not read again.
    const auto opened = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>(&table.host.mainWidget());
    dynamic_cast<Facet::AttributeT<QString>&>(*opened->attribute("menu")).setValue(table.path(QStringLiteral("inner.json")));
    CHECK(opened->prepare({900.f, 540.f}) != 0);
    opened->removeFromParent();
}
