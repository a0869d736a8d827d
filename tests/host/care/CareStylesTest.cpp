#include "care/CareStyles.hpp"

#include "care/CareAttributes.hpp"

#include <TestHost.hpp>

#include <doctest/doctest.h>

TEST_CASE("care styles: title, QR code and buttons are kept clear of cards where no style says so, and a style may say otherwise")
{
    const Host::CareAttributes attributes;
    TestSupport::TestHost host;
    host.style(Host::careStyleSheet(0.55f) + "Widget { width: 10px; height: 10px; }");
    const auto space = Bedrock::makeIntrusive<Trellis::Widget>();
    space->postConstruct();
    host.mainWidget().addChild(space);
    for (const char* part : {"title", "qr-icon", "send-button", "picture"})
        Bedrock::makeIntrusive<Trellis::Widget>(space.get())->addCSSClass(part);
    host.frame();
    CHECK(Host::CareAttributes::keptClear(*space).size() == 3);
    host.style(".title { keep-clear: false; }");
    host.frame();
    CHECK(Host::CareAttributes::keptClear(*space).size() == 2);
}
