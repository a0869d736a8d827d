#include "components/SwitchWidget.hpp"

#include <TestHost.hpp>

#include <doctest/doctest.h>

namespace
{
struct SwitchWidgetFixture
{
    explicit SwitchWidgetFixture(const char* style)
    {
        host.style(style);
        widget->postConstruct();
        host.mainWidget().addChild(widget);
        widget->setSize({100.f, 50.f});
        host.frame();
    }
    void tap()
    {
        host.tap({50.f, 25.f});
        host.frame();
    }
    bool isOn() { return host.app().mainLayer()->hasPseudoClass("large-text"); }

    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<Host::SwitchWidget> widget = Bedrock::makeIntrusive<Host::SwitchWidget>();
};
}

TEST_CASE("switch widget: a tap gives the root of the table the state, and the next one takes it away")
{
    SwitchWidgetFixture f("SwitchWidget { state: large-text; }");
    CHECK_FALSE(f.isOn());
    f.tap();
    CHECK(f.isOn());
    f.host.frames(60);
    CHECK(f.isOn());
    f.tap();
    CHECK_FALSE(f.isOn());
}

TEST_CASE("switch widget: the state ends when the table becomes idle")
{
    SwitchWidgetFixture f("SwitchWidget { state: large-text; }");
    f.tap();
    f.host.app().mainLayer()->setPseudoClass("idle", true);
    f.host.frame();
    CHECK_FALSE(f.isOn());
    f.host.app().mainLayer()->setPseudoClass("idle", false);
    f.tap();
    CHECK(f.isOn());
}

TEST_CASE("switch widget: one without a state does nothing")
{
    SwitchWidgetFixture f("SwitchWidget { }");
    f.tap();
    CHECK_FALSE(f.host.app().mainLayer()->hasPseudoClass(""));
}
