#include <doctest/doctest.h>

#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/LinkWidget.hpp>
#include <Trellis/TextWidget.hpp>

using Bedrock::makeIntrusive;
using TestSupport::TestHost;

TEST_CASE("link widget: shows its title and its address as people write it")
{
    struct Row
    {
        const char* source;
        const char* name;
        const char* title;
        const char* address;
    };
    const Row rows[] = {
        {"https://example.org/", "", "example.org", "example.org"},
        {"https://example.org/a/b", "An example", "An example", "example.org/a/b"},
        {"no address", "", "no address", "no address"},
        {"", "Only a name", "Only a name", ""},
    };
    TestHost host;
    for (const Row& row : rows) {
        CAPTURE(row.source);
        const auto link = makeIntrusive<Tavola::LinkWidget>(&host.mainWidget());
        dynamic_cast<Facet::AttributeT<QString>&>(*link->attribute("source")).setValue(row.source);
        dynamic_cast<Facet::AttributeT<QString>&>(*link->attribute("display-name")).setValue(row.name);
        const auto* title = dynamic_cast<Trellis::TextWidget*>(link->children().at(0).get());
        const auto* address = dynamic_cast<Trellis::TextWidget*>(link->children().at(1).get());
        REQUIRE(title);
        REQUIRE(address);
        CHECK(title->hasCSSClass("link-title"));
        CHECK(address->hasCSSClass("link-address"));
        CHECK(title->text().toStdString() == row.title);
        CHECK(address->text().toStdString() == row.address);
    }
}

TEST_CASE("link widget: a finger on its words moves the card")
{
    TestHost host;
    host.style("LinkWidget { width: 200px; height: 100px } LinkWidget > TextWidget { width: 200px; height: 50px }");
    const auto link = makeIntrusive<Tavola::LinkWidget>(&host.mainWidget());
    link->setLocation({0.f, 0.f});
    host.drag(1, {50.f, 20.f}, {150.f, 20.f});
    CHECK(link->location().x == doctest::Approx(100.0));
}
