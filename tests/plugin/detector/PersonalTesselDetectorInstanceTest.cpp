#include "detector/PersonalTesselDetectorInstance.hpp"

#include "LogCapture.hpp"
#include "Table.hpp"
#include "shared/PersonalTesselWidget.hpp"

#include <doctest/doctest.h>

using PluginTest::Table;
using Tavola::PersonalTesselDetectorInstance;

namespace
{
std::shared_ptr<PersonalTesselDetectorInstance> makeInstance(TestSupport::TestHost& host)
{
    return std::make_shared<PersonalTesselDetectorInstance>(std::make_shared<Tavola::Component>(),
                                                            Bedrock::IntrusivePtr<Trellis::Widget>(&host.mainWidget()));
}
}

TEST_CASE("detector instance: the component makes a detector with its instance, which the host finds by the widget")
{
    Table table;
    table.addDetector();
    REQUIRE(table.detector);
    const auto instance = table.host.tavola().widgetInstance(table.detector->id());
    CHECK(std::dynamic_pointer_cast<PersonalTesselDetectorInstance>(instance));
    CHECK(instance->widget() == table.detector);
    CHECK(std::dynamic_pointer_cast<Tavola::CustomWidgetInstanceComponent>(instance->component()));
}

TEST_CASE("detector instance: it makes a personal space without a parent")
{
    Table table;
    const auto widget = makeInstance(table.host)->createPersonalWidget();
    REQUIRE(widget);
    CHECK(dynamic_cast<Tavola::PersonalSpaceWidget*>(widget.get()));
    CHECK_FALSE(widget->parent());
    CHECK(makeInstance(table.host)->createPersonalWidget() != widget);
}

TEST_CASE("detector instance: where the component is not known there is no widget")
{
    Table table;
    table.spaceRegistrant.reset();
    TestSupport::expectWarning("UserInterface::createStockWidget # Component 'personal-space-widget' is not registered");
    CHECK_FALSE(makeInstance(table.host)->createPersonalWidget());
}

TEST_CASE("detector instance: a component that makes something else makes no personal widget")
{
    Table table;
    table.spaceRegistrant.reset();
    const Tavola::FactoryRegistrant<Tavola::WidgetComponent> other("personal-space-widget", [] {
        return std::make_shared<Tavola::WidgetComponent>([] { return Bedrock::makeIntrusive<Trellis::Widget>(); });
    });
    CHECK_FALSE(makeInstance(table.host)->createPersonalWidget());
}

TEST_CASE("detector instance: without an application there is no widget")
{
    Table table;
    const auto instance = makeInstance(table.host);
    table.host.destroyTavola();
    CHECK_FALSE(instance->createPersonalWidget());
}
