#include "OpenSpace.hpp"

#include <doctest/doctest.h>

// What shows that a drag hovers over a space, when the space itself changes meanwhile.

using PluginTest::childrenOfClass;
using PluginTest::FakeContent;
using PluginTest::newCode;
using PluginTest::OpenSpace;
using Tavola::DropEvent;
using Tavola::PersonalSpaceContentWidget;

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

TEST_CASE("hover: nothing shows it any more from the moment at which drops are switched off")
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

TEST_CASE("hover: a space that changes to another card under a drag shows no hover that nobody would end")
{
    HoveredSpace space;
    space.widget->setCode(newCode());
    CHECK_FALSE(space.showsHover());
    CHECK_FALSE(space.isMarked());
    CHECK(space.indicators() == 0);
    CHECK(space.area().dropEvent({space.dragged, {10.f, 10.f}, DropEvent::ValidHover}));
    CHECK(space.showsHover());
}
