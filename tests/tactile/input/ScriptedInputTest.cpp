#include "ScriptedInput.hpp"

#include <doctest/doctest.h>

using Kind = Tactile::InputChange::Kind;

TEST_CASE("scripted input: what was said since the frame before arrives in its order")
{
    TestSupport::ScriptedInput input;
    Tactile::Sample sample;
    input.fingerDown(1, {10, 10});
    input.fingerMove(1, {20, 10});
    input.tap(2, {5, 5});
    const auto card = input.markerDown(1001, {50, 50}, 1.f);
    input.readSample(0, sample);
    REQUIRE(sample.changes.size() == 5);
    CHECK(sample.changes[0].kind == Kind::Down);
    CHECK(sample.changes[1].kind == Kind::Move);
    CHECK(sample.changes[3].kind == Kind::Up);
    CHECK(sample.changes[4].object.id() == card);
    CHECK(sample.fingers.size() == 1);
    CHECK(sample.markers.at(0).rotation() == 1.f);
    input.readSample(1, sample);
    CHECK(sample.changes.empty());
    CHECK(sample.fingers.size() == 1);
}

TEST_CASE("scripted input: a code has its id again, and another one while it is on the table twice")
{
    TestSupport::ScriptedInput input;
    const auto first = input.markerDown(7, {0, 0});
    const auto second = input.markerDown(7, {500, 0});
    CHECK(first != second);
    input.markerUp(first);
    CHECK(input.markerDown(7, {900, 0}) == first);
}
