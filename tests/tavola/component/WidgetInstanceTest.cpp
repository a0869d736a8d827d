#include <doctest/doctest.h>

#include "LogCapture.hpp"
#include "TestHost.hpp"

#include <Tavola/Component.hpp>
#include <Tavola/WidgetInstance.hpp>

using Bedrock::IntrusivePtr;
using Bedrock::makeIntrusive;
using TestSupport::TestHost;

namespace
{
std::shared_ptr<Tavola::WidgetComponent> makeWidgetComponent(const QString& name)
{
    auto component = std::make_shared<Tavola::WidgetComponent>([] { return makeIntrusive<Trellis::Widget>(); });
    component->setName(name);
    return component;
}
}

TEST_CASE("widget instance: makes the widget of a component in a slot, and adds it when asked")
{
    TestHost host;
    const auto owner = makeWidgetComponent("owner")->createInstance();
    const auto widget = owner->widget();
    const auto component = makeWidgetComponent("part");

    const auto free = owner->createInstanceWidget("parts", component, false);
    REQUIRE(free);
    CHECK_FALSE(free->parent());
    const auto child = owner->createInstanceWidget("parts", component, true);
    REQUIRE(child);
    CHECK(child->parent() == widget.get());
    CHECK(host.tavola().widgetInstance(child->id())->component() == component);
}

TEST_CASE("widget instance: what makes no widget in a slot is a warning")
{
    TestHost host;
    const auto owner = makeWidgetComponent("owner")->createInstance();
    const auto plain = std::make_shared<Tavola::Component>();
    plain->setName("action");
    TestSupport::expectWarning(
        "WidgetInstance::createInstanceWidget # What is in slot 'parts' of 'owner' makes no widget (action)");
    CHECK_FALSE(owner->createInstanceWidget("parts", plain, true));
    TestSupport::expectWarning(
        "WidgetInstance::createInstanceWidget # What is in slot 'parts' of 'owner' makes no widget (nothing)");
    CHECK_FALSE(owner->createInstanceWidget("parts", nullptr, true));
}

TEST_CASE("widget instance: with its own widget gone it still makes widgets, which have no parent")
{
    TestHost host;
    const auto owner = makeWidgetComponent("owner")->createInstance();
    host.frame();
    REQUIRE_FALSE(owner->widget());
    const auto made = owner->createInstanceWidget("parts", makeWidgetComponent("part"), true);
    REQUIRE(made);
    CHECK_FALSE(made->parent());
}
