#include "../../facet/AllocationCounter.hpp"
#include "CareTable.hpp"
#include "care/CareStyles.hpp"

#include <doctest/doctest.h>

namespace
{
/// Calls of operator new in 100 frames in which nothing happens.
long allocationsOfStillFrames(CareTable& table)
{
    table.host.frames(60); // what opened has its place, and lists have their size
    const long before = FacetTest::allocations();
    table.host.frames(100);
    return FacetTest::allocations() - before;
}
}

TEST_CASE("steady care: frames in which nothing lies on the table allocate nothing")
{
    CareTable table;
    CHECK(allocationsOfStillFrames(table) == 0);
}

TEST_CASE("steady care: frames in which cards that nothing took lie still allocate nothing, and move no words")
{
    CareTable table;
    table.host.style(Host::careStyleSheet(0.55f) + "CardSign > .card-sign-text { text: 'Please ask us for another card.'; }");
    table.area->setInputEnabled(false);
    table.host.input.markerDown(9999, {960.f, 20.f}, 4.712f); // its words make room for the edge
    table.host.input.markerDown(9999, {300.f, 500.f});
    table.host.input.markerDown(9998, {330.f, 350.f});
    CHECK(allocationsOfStillFrames(table) == 0);
    CHECK(table.host.app().mainLayer()->findAllByType("CardSign").size() == 3);
}
