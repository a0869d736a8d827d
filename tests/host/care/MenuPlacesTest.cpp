#include "care/MenuPlaces.hpp"

#include "CareTable.hpp"
#include "Folder.hpp"
#include "care/CardOutline.hpp"
#include "care/CareStyles.hpp"
#include "care/ConvexShape.hpp"
#include "components/HostComponents.hpp"

#include <Tavola/ContentMenuWidget.hpp>
#include <Trellis/FadeAnimator.hpp>

#include <doctest/doctest.h>

using Vecta::Vector2f;

namespace
{
/// Keeps what it is attached to with a card, as far as style sheets and the host's care can tell.
class Following final : public Trellis::Operator
{
public:
    Facet::AttributeT<bool> moves{this, "move-widget-with-marker", true};
};

struct MenuPlacesFixture
{
    MenuPlacesFixture()
    {
        table.host.style(Host::careStyleSheet(0.55f));
        QByteArray entries;
        for (const char* text : {"A", "B", "C", "D"})
            entries +=
                QByteArray(entries.isEmpty() ? "" : ", ") + R"({"text": ")" + text + R"(", "content": {"component": "panel"}})";
        folder.write(QStringLiteral("menu.json"), R"({"entries": [)" + entries + "]}");
    }

    /// A menu that opens at a card, and its first node.
    Trellis::Widget& open(Vector2f point, bool isFollowing = false, const char* style = "list", float angle = 0.f)
    {
        table.area->setInputEnabled(false);
        table.host.input.markerDown(2001, point, angle);
        const auto menu = Bedrock::makeIntrusive<Tavola::ContentMenuWidget>();
        menu->postConstruct();
        Facet::findAttribute<QString>(*menu, "menu")->setValue(folder.path(QStringLiteral("menu.json")));
        table.host.style(QStringLiteral("ContentMenuWidget { menu-style: %1; }").arg(QLatin1String(style)));
        table.host.mainWidget().addChild(menu);
        menu->prepare(point);
        if (isFollowing)
            menu->addOperator(Bedrock::makeIntrusive<Following>());
        REQUIRE_FALSE(menu->children().empty());
        table.host.frame();
        return *menu->children().front();
    }

    Folder folder;
    CareTable table;
    Host::HostComponents components{table.host.tavola()};
};
}

TEST_CASE("menu places: a menu opens out of its card, and ends beside another person's space, whole on the table")
{
    MenuPlacesFixture f;
    const Trellis::Widget& space = f.table.open(1001, {400.f, 540.f});
    f.table.host.frames(30);
    const Vector2f card(690.f, 540.f);
    const Trellis::Widget& node = f.open(card);
    CHECK((CareTable::center(node) - card).length() < 0.1f);
    f.table.host.frames(30);
    CHECK_FALSE(node.intersects(space));
    CHECK(node.scale() == 1.f);
    const Vecta::Rect bounds = node.sceneBounds();
    const Vecta::Rect whole{0.f, 0.f, 1920.f, 1080.f};
    CHECK(whole.contains({bounds.x, bounds.y}));
    CHECK(whole.contains({bounds.right(), bounds.bottom()}));
}

TEST_CASE("menu places: what opens at another person's card makes room for a menu, until that closes")
{
    MenuPlacesFixture f;
    const Trellis::Widget& node = f.open({960.f, 540.f}, true, "ring");
    f.table.host.frames(30);
    const Vector2f middle = CareTable::center(node);
    f.table.area->setInputEnabled(true);
    Trellis::Widget& space = f.table.open(1001, {1250.f, 540.f});
    REQUIRE(space.intersects(node));
    f.table.host.frames(30);
    CHECK_FALSE(space.intersects(node));
    CHECK((CareTable::center(node) - middle).length() < 0.1f);
    Trellis::FadeAnimator::fadeOutAndDelete(*node.parent(), 1.f, 0.f);
    const Trellis::Widget& later = f.table.open(1002, {330.f, 540.f});
    f.table.host.frames(3);
    space.removeFromParent();
    const Trellis::Widget& last = f.table.open(1003, {960.f, 540.f});
    f.table.host.frames(30);
    CHECK((CareTable::center(last) - Vector2f(960.f, 540.f)).length() < 100.f);
    CHECK_FALSE(last.intersects(later));
}

TEST_CASE("menu places: what one person opened need not make room for the menu of the same card")
{
    MenuPlacesFixture f;
    const Trellis::Widget& node = f.open({960.f, 540.f}, true, "ring");
    f.table.host.frames(30);
    f.table.area->setInputEnabled(true);
    const Trellis::Widget& space = f.table.open(2001, {1250.f, 540.f});
    f.table.host.frames(30);
    CHECK(space.intersects(node));
}

TEST_CASE("menu places: no card covers the entries of a list")
{
    MenuPlacesFixture f;
    const Vector2f card(960.f, 540.f);
    const Trellis::Widget& list = f.open(card);
    f.table.host.frames(30);
    const auto outline = Host::cardOutline(f.table.host.app().grabManager()->currentSample().markers.front(), 0.55f);
    int entries = 0;
    for (const auto& child : list.children()) {
        if (!child->hasCSSClass("menu-entry"))
            continue;
        ++entries;
        const auto corners = child->transformToScene().mapCorners({0.f, 0.f, child->width(), child->height()});
        CHECK_FALSE(
            Host::ConvexShape::placesOfOverlap({corners.begin(), corners.end()}, {outline.begin(), outline.end()}).contains({}));
    }
    CHECK(entries == 4);
}

TEST_CASE("menu places: a ring whose entries stand clear of the card stays around it")
{
    MenuPlacesFixture f;
    f.table.host.style("ContentMenuNode.ring { inner-radius: 110px; }");
    const Trellis::Widget& ring = f.open({960.f, 540.f}, false, "ring");
    f.table.host.frames(30);
    CHECK((CareTable::center(ring) - Vector2f(960.f, 540.f)).length() < 0.1f);
}

TEST_CASE("menu places: a menu that follows its card stays exactly there")
{
    MenuPlacesFixture f;
    f.table.open(1001, {400.f, 540.f});
    f.table.host.frames(30);
    const Vector2f card(690.f, 540.f);
    const Trellis::Widget& node = f.open(card, true);
    f.table.host.frames(30);
    CHECK((CareTable::center(node) - card).length() < 0.1f);
}
