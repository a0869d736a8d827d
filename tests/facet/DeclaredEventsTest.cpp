#include "AllocationCounter.hpp"

#include <doctest/doctest.h>

#include <Facet/DeclaredEvents.hpp>
#include <Facet/Node.hpp>

#include <memory>

using Facet::DeclaredEvents;

TEST_CASE("declared events: contains what was added, once, in the order of adding")
{
    DeclaredEvents events;
    CHECK_FALSE(events.contains("one"));
    for (const char* name : {"two", "one", "two"})
        events.add(name);
    CHECK(events.contains("one"));
    CHECK(events.contains("two"));
    CHECK_FALSE(events.contains("three"));
    CHECK(events.all() == std::vector<Facet::EventName>{"two", "one"});
}

TEST_CASE("declared events: a further node with the same events allocates nothing for them")
{
    static const Facet::EventName kDown("finger-down");
    static const Facet::EventName kUp("finger-up");
    const auto declare = [](Facet::Node& node) {
        node.eventAddOut(kDown);
        node.eventAddOut(kUp);
    };
    Facet::Node first;
    declare(first);
    const long before = FacetTest::allocations();
    Facet::Node second;
    declare(second);
    second.eventSend(kDown);
    CHECK(FacetTest::allocations() == before);
}
