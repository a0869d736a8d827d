#include "components/PanelInstance.hpp"

#include "TestHost.hpp"
#include "components/HostComponents.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/Tavola.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

using namespace Host;

namespace
{
struct Panel
{
    TestSupport::TestHost host;
    HostComponents components{*Tavola::Tavola::instance()};
    std::shared_ptr<Tavola::UIComponent> panel = Tavola::Tavola::instance()->createComponent("panel");
    std::shared_ptr<Tavola::UIComponent> picture = Tavola::Tavola::instance()->createComponent("picture");
    std::shared_ptr<Tavola::UIComponent> text = Tavola::Tavola::instance()->createComponent("text");
};
}

TEST_CASE("panel: what lies in its slot stands in it, in order")
{
    Panel table;
    table.panel->assign("content", table.picture);
    table.panel->assign("content", table.text);
    const auto widget = table.panel->createContentWidget();
    REQUIRE(widget);
    REQUIRE(widget->children().size() == 2);
    CHECK(widget->children()[0]->cssType() == "ContentWidget");
    CHECK(widget->children()[1]->cssType() != "ContentWidget");
}

TEST_CASE("panel: what is put into its slot later joins, and what is taken out goes")
{
    Panel table;
    const auto widget = table.panel->createContentWidget();
    REQUIRE(widget);
    table.panel->assign("content", table.picture);
    table.panel->assign("content", table.text);
    REQUIRE(widget->children().size() == 2);
    table.panel->unassign("content", table.picture);
    REQUIRE(widget->children().size() == 1);
    CHECK(widget->children()[0]->cssType() != "ContentWidget");
}

TEST_CASE("panel: other slots are ignored")
{
    Panel table;
    table.panel->assign("elsewhere", table.picture);
    const auto widget = table.panel->createContentWidget();
    REQUIRE(widget);
    CHECK(widget->children().empty());
}

TEST_CASE("panel: content that went by itself may be taken out of the slot")
{
    Panel table;
    table.panel->assign("content", table.picture);
    const auto widget = table.panel->createContentWidget();
    REQUIRE(widget->children().size() == 1);
    widget->removeChild(*widget->children()[0]);
    table.host.frame();
    table.panel->unassign("content", table.picture);
    CHECK(widget->children().empty());
}
