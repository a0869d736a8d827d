#include "personalspace/DropHover.hpp"

#include "ContentArea.hpp"
#include "OpenSpace.hpp"

#include <Trellis/ImageWidget.hpp>

#include <doctest/doctest.h>

#include <vector>

using PluginTest::childrenOfClass;
using PluginTest::FakeContent;
using PluginTest::near;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using PluginTest::pseudoClassesOf;
using PluginTest::Strings;
using Tavola::DropEvent;
using Tavola::PersonalSpaceContentWidget;
using Area = PluginTest::ContentArea;

namespace
{
/// A space over which a widget is dragged.
struct HoveredSpace : OpenSpace
{
    Bedrock::IntrusivePtr<FakeContent> dragged{new FakeContent(&host.mainWidget())};

    HoveredSpace() { CHECK(area().dropEvent({dragged, {10.f, 10.f}, DropEvent::ValidHover})); }

    PersonalSpaceContentWidget& area() { return *contentWidgets().back(); }
    std::vector<PersonalSpaceContentWidget*> contentWidgets()
    {
        std::vector<PersonalSpaceContentWidget*> found;
        for (const auto& child : widget->children())
            if (auto* area = dynamic_cast<PersonalSpaceContentWidget*>(child.get()))
                found.push_back(area);
        return found;
    }
    bool showsHover() { return widget->hasPseudoClass("valid-hover"); }
    bool isMarked() { return dragged->hasPseudoClass("valid-drop"); }
    std::size_t indicators() { return childrenOfClass(*host.ui().overlayWidget(), "drop-indicator").size(); }
};
}

TEST_CASE("drop: hovering marks the space, and the dragged widget where it would drop, and shows the indicator at the point")
{
    for (const auto type : {DropEvent::Hover, DropEvent::ValidHover}) {
        CAPTURE(type);
        Area area;
        const auto content = area.make<FakeContent>();
        CHECK(area.drop(content, type, {10.f, 20.f}));
        CHECK(pseudoClassesOf(*area.space) == Strings{"valid-hover"});
        CHECK(pseudoClassesOf(*content) == (type == DropEvent::Hover ? Strings{} : Strings{"valid-drop"}));
        REQUIRE(area.indicators().size() == 1);
        auto* indicator = area.indicators()[0];
        CHECK(dynamic_cast<Trellis::ImageWidget*>(indicator));
        CHECK(indicator->centerLocation() == Vecta::Vector2f(510.f, 370.f));

        CHECK(area.drop(content, type, {110.f, 40.f}));
        REQUIRE(area.indicators().size() == 1);
        CHECK(area.indicators()[0] == indicator);
        CHECK(indicator->centerLocation() == Vecta::Vector2f(610.f, 390.f));
        CHECK(area.contents->items().empty());
        CHECK(area.drop(content, DropEvent::Leave));
        CHECK(pseudoClassesOf(*area.space).empty());
        CHECK(pseudoClassesOf(*content).empty());
        CHECK(area.indicators().empty());
    }
}

TEST_CASE("drop: a hover that would not drop leaves the mark that the dragged widget has")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.drop(content, DropEvent::ValidHover);
    // A second finger joins the drag.
    CHECK(area.drop(content, DropEvent::Hover, {110.f, 40.f}));
    CHECK(pseudoClassesOf(*content) == Strings{"valid-drop"});
    CHECK(pseudoClassesOf(*area.space) == Strings{"valid-hover"});
    CHECK(area.drop(content, DropEvent::Leave));
    CHECK(pseudoClassesOf(*content).empty());
}

TEST_CASE("drop: the indicator stands at the point also where space and area are turned")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.turnByQuarters();
    for (const auto type : {DropEvent::Hover, DropEvent::ValidHover}) {
        CAPTURE(type);
        CHECK(area.drop(content, type, {10.f, 20.f}));
        REQUIRE(area.indicators().size() == 1);
        CHECK(near(area.indicators()[0]->centerLocation(), {490.f, 580.f}));
        area.drop(content, DropEvent::Leave);
    }
}

TEST_CASE("drop: the indicator stands at the point also where the overlay is moved, turned and scaled")
{
    Area area;
    const auto content = area.make<FakeContent>();
    auto& overlay = *area.host.ui().overlayWidget();
    overlay.setLocation({100.f, 70.f});
    overlay.setScale(0.5f);
    area.drop(content, DropEvent::Hover, {10.f, 20.f});
    REQUIRE(area.indicators().size() == 1);
    CHECK(near(area.indicators()[0]->centerLocation(), {820.f, 600.f}));
    overlay.setRotation(0.7f);
    area.drop(content, DropEvent::ValidHover, {110.f, 40.f});
    CHECK(near(overlay.mapToScene(area.indicators()[0]->centerLocation()), {610.f, 390.f}));
}

TEST_CASE("drop: without an application a hover marks the space and shows no indicator")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.host.destroyTavola();
    CHECK(area.drop(content, DropEvent::ValidHover));
    CHECK(pseudoClassesOf(*area.space) == Strings{"valid-hover"});
    CHECK(pseudoClassesOf(*content) == Strings{"valid-drop"});
    CHECK(area.drop(content, DropEvent::Leave));
    CHECK(pseudoClassesOf(*area.space).empty());
    CHECK(pseudoClassesOf(*content).empty());
}

TEST_CASE("drop: the drop collects and removes the indicator, the marks stay until the drag leaves")
{
    Area area;
    const auto content = area.make<FakeContent>();
    area.drop(content, DropEvent::ValidHover);
    bool showsWhileCollecting = false;
    area.widget->eventAddListener("widget-added", [&] { showsWhileCollecting = area.indicators().size() == 1; });
    CHECK(area.drop(content, DropEvent::Drop));
    CHECK(showsWhileCollecting);
    CHECK(area.contents->items().size() == 1);
    CHECK(area.indicators().empty());
    CHECK(pseudoClassesOf(*area.space) == Strings{"valid-hover"});
    CHECK(pseudoClassesOf(*content) == Strings{"valid-drop"});
    CHECK(area.drop(content, DropEvent::Leave));
    CHECK(pseudoClassesOf(*area.space).empty());
}

TEST_CASE("drop: a content widget that is destroyed during a drag removes the indicator")
{
    Area area;
    area.drop(area.make<FakeContent>(), DropEvent::Hover);
    REQUIRE(area.indicators().size() == 1);
    area.space->removeFromParent();
    area.space.reset();
    area.widget.reset();
    area.host.frames(2);
    CHECK(area.indicators().empty());
}

TEST_CASE("drop: a content widget that is destroyed during drags clears the marks that it set on dragged widgets")
{
    Area area;
    const auto first = area.make<FakeContent>();
    const auto second = area.make<FakeContent>();
    const auto left = area.make<FakeContent>();
    area.drop(first, DropEvent::ValidHover);
    area.drop(second, DropEvent::ValidHover);
    area.drop(left, DropEvent::ValidHover);
    area.drop(left, DropEvent::Leave);
    left->setPseudoClass("valid-drop", true); // by another space
    area.space->removeFromParent();
    area.space.reset();
    area.widget.reset();
    area.host.frames(2);
    CHECK(pseudoClassesOf(*first).empty());
    CHECK(pseudoClassesOf(*second).empty());
    CHECK(pseudoClassesOf(*left) == Strings{"valid-drop"});
}

TEST_CASE("hover: nothing shows it from the moment at which drops are switched off")
{
    HoveredSpace space;
    REQUIRE(space.showsHover());
    REQUIRE(space.isMarked());
    REQUIRE(space.indicators() == 1);
    space.host.style("PersonalSpaceContentWidget { accept-drops: false }");
    CHECK_FALSE(space.showsHover());
    CHECK_FALSE(space.isMarked());
    CHECK(space.indicators() == 0);
    CHECK_FALSE(space.area().dropEvent({space.dragged, {10.f, 10.f}, DropEvent::Leave}));

    space.host.style("PersonalSpaceContentWidget { accept-drops: true }");
    CHECK_FALSE(space.showsHover());
    CHECK(space.area().dropEvent({space.dragged, {10.f, 10.f}, DropEvent::ValidHover}));
    CHECK(space.showsHover());
    CHECK(space.isMarked());
    CHECK(space.indicators() == 1);
}

TEST_CASE("hover: a space that changes to another card under a drag shows no hover that would never end")
{
    HoveredSpace space;
    space.widget->setCode(newCode());
    CHECK_FALSE(space.showsHover());
    CHECK_FALSE(space.isMarked());
    CHECK(space.indicators() == 0);
    CHECK(space.area().dropEvent({space.dragged, {10.f, 10.f}, DropEvent::ValidHover}));
    CHECK(space.showsHover());
}
