#include "input/MouseInput.hpp"

#include <doctest/doctest.h>

using namespace Host;

using Kind = Tactile::InputChange::Kind;

namespace
{
constexpr float kRadiusPx = 50.f;
constexpr float kFifteenDegrees = 0.2617994f;
constexpr bool kShift = true;
constexpr bool kNoShift = false;

/// A mouse over a table with the cards 1001 to 1003 on the keys 1 to 3.
struct MouseInputFixture
{
    /// Puts a card down as a person would.
    void putDown(int digit, Vecta::Vector2f point)
    {
        mouse.setHeldDigit(digit);
        mouse.press(point, kNoShift);
        mouse.release(point);
        mouse.setHeldDigit(0);
    }
    const Tactile::Sample& sample()
    {
        mouse.readSample(0.0, taken);
        return taken;
    }

    MouseInput mouse{{1001, 1002, 1003}, kRadiusPx};
    Tactile::Sample taken;
};

bool isAt(const Tactile::TrackedObject& object, float x, float y)
{
    return object.centerLocation().x == doctest::Approx(x) && object.centerLocation().y == doctest::Approx(y);
}
}

TEST_CASE("mouse input: the button is a finger that is down as long as the button is")
{
    MouseInputFixture f;
    f.mouse.press({10, 20}, kNoShift);
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Down);
    CHECK(f.taken.changes[0].object.isFinger());
    REQUIRE(f.taken.fingers.size() == 1);
    CHECK(isAt(f.taken.fingers[0], 10, 20));
    const auto id = f.taken.fingers[0].id();

    f.mouse.move({30, 40});
    f.mouse.move({35, 45});
    REQUIRE(f.sample().changes.size() == 2);
    CHECK(f.taken.changes[1].kind == Kind::Move);
    CHECK(f.taken.fingers[0].id() == id);
    CHECK(isAt(f.taken.fingers[0], 35, 45));

    CHECK(f.sample().changes.empty());
    CHECK(f.taken.fingers.size() == 1);

    f.mouse.release({36, 46});
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Up);
    CHECK(f.taken.changes[0].object.id() == id);
    CHECK(isAt(f.taken.changes[0].object, 36, 46));
    CHECK(f.taken.fingers.empty());
}

TEST_CASE("mouse input: a click within one frame is a down and an up, each with a finger of its own")
{
    MouseInputFixture f;
    f.mouse.press({10, 20}, kNoShift);
    f.mouse.release({10, 20});
    f.mouse.press({10, 20}, kNoShift);
    f.mouse.release({10, 20});
    REQUIRE(f.sample().changes.size() == 4);
    CHECK(f.taken.changes[0].kind == Kind::Down);
    CHECK(f.taken.changes[1].kind == Kind::Up);
    CHECK(f.taken.changes[0].object.id() == f.taken.changes[1].object.id());
    CHECK(f.taken.changes[2].object.id() != f.taken.changes[0].object.id());
    CHECK(f.taken.fingers.empty());
}

TEST_CASE("mouse input: a move without a button is nothing")
{
    MouseInputFixture f;
    f.mouse.move({5, 5});
    f.mouse.release({5, 5});
    f.mouse.wheel({5, 5}, 1);
    CHECK(f.sample().changes.empty());
}

TEST_CASE("mouse input: a click while a digit is held puts that card down, as from the lower edge, and leaves it there")
{
    MouseInputFixture f;
    f.putDown(2, {300, 200});
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Down);
    REQUIRE(f.taken.markers.size() == 1);
    CHECK(f.taken.markers[0].code() == 1002);
    CHECK(isAt(f.taken.markers[0], 300, 200));
    CHECK(f.taken.markers[0].rotation() == doctest::Approx(18 * kFifteenDegrees));
    CHECK(f.taken.fingers.empty());
    CHECK(f.sample().markers.size() == 1);
}

TEST_CASE("mouse input: a digit without a card is an ordinary click")
{
    MouseInputFixture f;
    for (const int digit : {0, 4, 9}) {
        f.mouse.setHeldDigit(digit);
        f.mouse.press({10, 20}, kNoShift);
        CHECK(f.sample().fingers.size() == 1);
        CHECK(f.taken.markers.empty());
        f.mouse.release({10, 20});
    }
}

TEST_CASE("mouse input: the same key again moves the card instead of making a second one")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    const auto id = f.sample().markers.at(0).id();
    f.putDown(1, {500, 600});
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Move);
    REQUIRE(f.taken.markers.size() == 1);
    CHECK(f.taken.markers[0].id() == id);
    CHECK(isAt(f.taken.markers[0], 500, 600));
}

TEST_CASE("mouse input: a click with Shift lifts the card under it; put down again it is the same card")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    f.putDown(2, {600, 200});
    const auto id = f.sample().markers.at(0).id();
    f.mouse.press({320, 210}, kShift);
    f.mouse.release({320, 210});
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Up);
    CHECK(f.taken.changes[0].object.code() == 1001);
    REQUIRE(f.taken.markers.size() == 1);
    CHECK(f.taken.markers[0].code() == 1002);

    f.putDown(1, {10, 10});
    REQUIRE(f.sample().markers.size() == 2);
    CHECK(f.taken.markers[1].id() == id);
}

TEST_CASE("mouse input: Shift beside every card is a finger")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    (void)f.sample();
    f.mouse.press({300 + kRadiusPx + 1, 200}, kShift);
    CHECK(f.sample().fingers.size() == 1);
    CHECK(f.taken.markers.size() == 1);
}

TEST_CASE("mouse input: the wheel turns the card under it by fifteen degrees a step")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    (void)f.sample();
    f.mouse.wheel({310, 200}, 2);
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Move);
    CHECK(f.taken.markers[0].rotation() == doctest::Approx(20 * kFifteenDegrees));
    f.mouse.wheel({310, 200}, -3);
    CHECK(f.sample().markers[0].rotation() == doctest::Approx(17 * kFifteenDegrees));
    f.mouse.wheel({900, 900}, 1);
    CHECK(f.sample().changes.empty());
}

TEST_CASE("mouse input: dragging a card moves it without a jump and touches nothing")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    (void)f.sample();
    f.mouse.press({310, 190}, kNoShift);
    CHECK(f.sample().changes.empty());
    f.mouse.move({410, 290});
    REQUIRE(f.sample().changes.size() == 1);
    CHECK(f.taken.changes[0].kind == Kind::Move);
    CHECK(isAt(f.taken.markers[0], 400, 300));
    CHECK(f.taken.fingers.empty());
    f.mouse.release({410, 290});
    f.mouse.move({900, 900});
    CHECK(f.sample().changes.empty());
    CHECK(isAt(f.taken.markers[0], 400, 300));
}

TEST_CASE("mouse input: of two cards the nearer one is meant")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    f.putDown(2, {340, 200});
    (void)f.sample();
    f.mouse.press({330, 200}, kShift);
    CHECK(f.sample().changes.at(0).object.code() == 1002);
}

TEST_CASE("mouse input: fingers and cards have different ids")
{
    MouseInputFixture f;
    f.putDown(1, {300, 200});
    f.mouse.press({10, 10}, kNoShift);
    const auto& sample = f.sample();
    CHECK(sample.fingers.at(0).id() > 0);
    CHECK(sample.markers.at(0).id() > 0);
    CHECK(sample.fingers.at(0).id() != sample.markers.at(0).id());
}
