#include <doctest/doctest.h>

#include "TestHost.hpp"

#include <Facet/AttributeT.hpp>
#include <Tavola/ContentWidget.hpp>
#include <Tavola/FileRepresentation.hpp>

using Bedrock::makeIntrusive;
using TestSupport::TestHost;

TEST_CASE("content widget: can be moved unless a style says otherwise")
{
    TestHost host;
    const auto content = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    content->setLocation({0.f, 0.f});
    content->setSize({100.f, 100.f});
    host.dragAndDrop(1, {50.f, 50.f}, {150.f, 50.f});
    CHECK(content->location().x > 90.f);
    host.frames(120);
    content->stopMotion();
    host.style("ContentWidget { movable: false; rotatable: false; scalable: false }");
    content->setLocation({0.f, 0.f});
    host.dragAndDrop(1, {50.f, 50.f}, {150.f, 50.f});
    CHECK(content->location() == Vecta::Vector2f());
}

TEST_CASE("content widget: a style sheet sets what it shows and what is collected")
{
    TestHost host;
    host.style("ContentWidget { display-name: 'The map'; source-tessel-urls: '/maps/map.pdf', 'https://example.org/map' }");
    const auto content = makeIntrusive<Tavola::ContentWidget>(&host.mainWidget());
    const auto data = Tavola::FileRepresentation::widgetData(*content);
    CHECK(data.displayName == "The map");
    CHECK(data.sources == QStringList{"/maps/map.pdf", "https://example.org/map"});
}
