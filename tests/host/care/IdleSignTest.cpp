#include "care/IdleSign.hpp"

#include "CareTable.hpp"

#include <doctest/doctest.h>

namespace
{
Host::CareSettings idleSettings()
{
    Host::CareSettings result;
    result.idleAfterSeconds = 10.f;
    result.closeAfterSeconds = result.closeLiftedAfterSeconds = 20.f;
    return result;
}

bool isIdle(CareTable& table)
{
    return table.host.app().mainLayer()->hasPseudoClass("idle");
}
}

TEST_CASE("idle sign: an unused table is idle after its time, and not in the frame of a touch")
{
    CareTable table(idleSettings());
    table.host.frames(9, 1.0);
    CHECK_FALSE(isIdle(table));
    table.host.frames(2, 1.0);
    CHECK(isIdle(table));
    table.host.input.fingerDown(1, {5.f, 5.f});
    table.host.frame();
    CHECK_FALSE(isIdle(table));
    table.host.frames(30, 1.0);
    CHECK_FALSE(isIdle(table));
    table.host.input.fingerUp(1);
    table.host.frames(11, 1.0);
    CHECK(isIdle(table));
}

TEST_CASE("idle sign: a card ends it at once, and a card that lies there idly does not keep it away")
{
    CareTable table(idleSettings());
    table.host.frames(11, 1.0);
    CHECK(isIdle(table));
    Trellis::Widget& opened = table.open(1001, {960.f, 540.f});
    CHECK_FALSE(isIdle(table));
    table.host.frames(15, 1.0);
    CHECK_FALSE(isIdle(table));
    opened.removeFromParent();
    for (int second = 0; second < 11; ++second) { // as trackers report it
        table.host.input.markerMove(table.card, {960.f, 540.f});
        table.host.frame(1.0);
    }
    CHECK(isIdle(table));
}
