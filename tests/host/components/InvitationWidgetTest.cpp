#include "components/InvitationWidget.hpp"

#include <TestHost.hpp>
#include <Trellis/TextWidget.hpp>

#include <doctest/doctest.h>

using Host::InvitationWidget;

namespace
{
struct InvitationWidgetFixture
{
    InvitationWidgetFixture()
    {
        host.style("InvitationWidget { width: 200px; height: 200px; } :idle InvitationWidget { moving: true; }");
        widget->postConstruct();
        host.mainWidget().addChild(widget);
        host.frames(2);
    }

    TestSupport::TestHost host;
    Bedrock::IntrusivePtr<InvitationWidget> widget = Bedrock::makeIntrusive<InvitationWidget>();
};
}

TEST_CASE("invitation: the card comes down while the table is idle, and nothing moves otherwise")
{
    InvitationWidgetFixture f;
    const float still = f.widget->lift();
    f.host.frames(30);
    CHECK(f.widget->lift() == still);
    f.host.app().mainLayer()->setPseudoClass("idle", true);
    f.host.frames(45);
    const float early = f.widget->lift();
    f.host.frames(40);
    CHECK(f.widget->lift() < early);
    CHECK_FALSE(f.host.app().damage().empty());
    f.host.app().mainLayer()->setPseudoClass("idle", false);
    const float stopped = f.widget->lift();
    f.host.frames(30);
    CHECK(f.widget->lift() == stopped);
}

TEST_CASE("invitation: shows a text that is styled before it is made, or after")
{
    {
        TestSupport::TestHost host;
        host.style("InvitationWidget { text: \"Your card, please\"; }");
        const auto widget = Bedrock::makeIntrusive<InvitationWidget>();
        widget->postConstruct();
        CHECK(dynamic_cast<Trellis::TextWidget&>(*widget->children()[0]).text() == "Your card, please");
    }
    InvitationWidgetFixture f;
    f.host.style("InvitationWidget { text: \"Put your card here\"; }");
    const auto& text = dynamic_cast<Trellis::TextWidget&>(*f.widget->children()[0]);
    CHECK(text.text() == "Put your card here");
    CHECK(text.hasCSSClass("invitation-text"));
}

TEST_CASE("invitation: takes no touch from what lies below it")
{
    InvitationWidgetFixture f;
    f.host.input.fingerDown(1, {100.f, 100.f});
    f.host.frame();
    CHECK_FALSE(f.widget->isHeld());
}
