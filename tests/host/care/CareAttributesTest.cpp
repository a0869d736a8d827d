#include "care/CareAttributes.hpp"

#include "CareTable.hpp"

#include <doctest/doctest.h>

using Host::CareAttributes;

TEST_CASE("care attributes: the parts of a widget that comes growing and turned are those of its whole size, not turned")
{
    CareTable table;
    table.host.style("@keyframes open { from { scale: 0.2; } } .opened { animation: open 0.3s; }");
    const Trellis::Widget& opened = table.open(1001, {960.f, 540.f}, 0.7f);
    REQUIRE(opened.scale() < 0.5f);
    const auto growing = CareAttributes::keptClear(opened);
    REQUIRE(growing.size() == 1);
    CHECK(growing[0].x == doctest::Approx(36.f).epsilon(0.01));
    CHECK(growing[0].y == doctest::Approx(26.f).epsilon(0.01));
    CHECK(growing[0].width == doctest::Approx(528.f).epsilon(0.01));
    CHECK(growing[0].height == doctest::Approx(50.f).epsilon(0.01));
}

TEST_CASE("care attributes: a part that does not show is not kept clear, nor what is in it")
{
    CareTable table;
    const Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    REQUIRE(CareAttributes::keptClear(opened).size() == 1);
    table.host.style(".title { display: none; }");
    CHECK(CareAttributes::keptClear(opened).empty());
}
