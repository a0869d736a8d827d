#include <doctest/doctest.h>

#include "../../facet/AllocationCounter.hpp"
#include "KeyboardDesk.hpp"

using KeyboardTests::Desk;
using TestSupport::TestHost;

TEST_CASE("keyboard: while it is open and not typed on, nothing is allocated, also while its space is moved")
{
    TestHost host;
    Desk desk(host);
    desk.open();
    const auto allocations = [&](bool moves) {
        const long before = FacetTest::allocations();
        for (int i = 0; i < 200; ++i) {
            if (moves)
                desk.space->setLocation({600.f + float(i % 7), 200.f});
            host.frame();
        }
        return FacetTest::allocations() - before;
    };
    static_cast<void>(allocations(true));
    CHECK(allocations(false) == 0);
    CHECK(allocations(true) == 0);
}
