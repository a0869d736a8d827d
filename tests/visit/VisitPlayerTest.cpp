#include <VisitPlayer.hpp>

#include <doctest/doctest.h>

#include <cmath>

namespace
{
Visit::Player player(const char* text)
{
    auto parsed = Visit::parseScript(text);
    REQUIRE(parsed.errors.empty());
    return Visit::Player(parsed.script);
}
}

TEST_CASE("visit player: contacts come, go on their way and leave at their times")
{
    const auto p = player("size 1000 500\n"
                          "at 1 finger 1 down 100 100\n"
                          "at 2 finger 1 move 300 200 over 2\n"
                          "at 5 finger 1 up\n");
    CHECK(p.frameAt(0.99).fingers.empty());
    REQUIRE(p.frameAt(1).fingers.size() == 1);
    CHECK(p.frameAt(1.9).fingers[0].x == doctest::Approx(0.1));
    CHECK(p.frameAt(3).fingers[0].x == doctest::Approx(0.2));
    CHECK(p.frameAt(3).fingers[0].y == doctest::Approx(0.3));
    CHECK(p.frameAt(4.5).fingers[0].x == doctest::Approx(0.3));
    CHECK(p.frameAt(5).fingers.empty());
}

TEST_CASE("visit player: a card turns by degrees, and keeps its angle in a move without one")
{
    const auto p = player("at 0 card 7 down 960 540 angle 90\n"
                          "at 1 card 7 move 0 0\n"
                          "at 2 card 7 move 0 0 angle 180 over 1\n");
    const float quarter = std::acos(0.f);
    CHECK(p.frameAt(1).cards.at(0).number == 7);
    CHECK(p.frameAt(1).cards[0].angleRadians == doctest::Approx(quarter));
    CHECK(p.frameAt(2.5).cards[0].angleRadians == doctest::Approx(1.5f * quarter));
    CHECK(p.frameAt(99).cards[0].angleRadians == doctest::Approx(2 * quarter));
}

TEST_CASE("visit player: a move that is cut short goes on from where it is")
{
    const auto p = player("size 100 100\n"
                          "at 0 finger 1 down 0 0\n"
                          "at 0 finger 1 move 100 0 over 2\n"
                          "at 1 finger 1 move 50 100 over 1\n");
    CHECK(p.frameAt(1).fingers.at(0).x == doctest::Approx(0.5));
    CHECK(p.frameAt(1.5).fingers[0].x == doctest::Approx(0.5));
    CHECK(p.frameAt(1.5).fingers[0].y == doctest::Approx(0.5));
}

TEST_CASE("visit player: each touch is a new session, whenever it is asked")
{
    const auto p = player("at 0 finger 1 tap 1 1\nat 1 finger 1 tap 1 1\nat 1.05 card 1 down 5 5\n");
    CHECK(p.frameAt(0).fingers.at(0).session == 1);
    CHECK(p.frameAt(1).fingers.at(0).session == 2);
    CHECK(p.frameAt(1.05).cards.at(0).session == 3);
    CHECK(p.frameAt(0.05).fingers.at(0).session == 1);
}

TEST_CASE("visit player: every action has a time at which it can be seen")
{
    const auto p = player("at 0.5 finger 1 tap 1 1\n");
    CHECK(p.nextActionAfter(0) == 0.5);
    CHECK(p.nextActionAfter(0.5) == doctest::Approx(0.6));
    CHECK(std::isinf(p.nextActionAfter(0.7)));
    CHECK_FALSE(p.isOver(0.6));
    CHECK(p.isOver(0.61));
}
