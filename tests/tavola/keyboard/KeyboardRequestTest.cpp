#include <Tavola/KeyboardRequest.hpp>

#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

using Tavola::KeyboardRequest;
using Vecta::Vector2f;

namespace
{
/// An anchor of 600 by 300 and a keyboard of 500 by 200 on a table of 1920 by 1080.
KeyboardRequest requestFrom(Vector2f origin, float angleRadians = 0.f)
{
    KeyboardRequest made;
    made.origin = origin;
    made.angleRadians = angleRadians;
    made.anchor = {600.f, 300.f};
    made.field = {50.f, 120.f, 500.f, 40.f};
    made.keyboard = {500.f, 200.f};
    made.table = {1920.f, 1080.f};
    made.gap = 14.f;
    return made;
}
}

TEST_CASE("keyboard request: the usual place is below the anchor, inside the table's edge")
{
    struct Row
    {
        const char* what;
        KeyboardRequest request;
        Vector2f topLeft;
    };
    const float halfTurn = Vecta::kPiOf<float>;
    const Row rows[] = {
        {"room below", requestFrom({600.f, 200.f}), {650.f, 514.f}},
        {"at the left edge", requestFrom({-300.f, 200.f}), {0.f, 514.f}},
        {"at the lower edge", requestFrom({600.f, 700.f}), {650.f, 880.f}},
        {"at the right edge", requestFrom({1500.f, 200.f}), {1420.f, 514.f}},
        {"turned by half a turn", requestFrom({1200.f, 600.f}, halfTurn), {1150.f, 286.f}},
        {"turned, at the upper edge", requestFrom({1200.f, 500.f}, halfTurn), {1150.f, 200.f}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        CHECK(row.request.usualPlace().x == doctest::Approx(row.topLeft.x));
        CHECK(row.request.usualPlace().y == doctest::Approx(row.topLeft.y));
    }
    KeyboardRequest narrow = requestFrom({600.f, 200.f});
    narrow.table = {400.f, 1080.f};
    CHECK(narrow.usualPlace().x == doctest::Approx(-50.f));
}

TEST_CASE("keyboard request: requests are equal when all their parts are")
{
    const KeyboardRequest one = requestFrom({600.f, 200.f});
    CHECK(one == requestFrom({600.f, 200.f}));
    KeyboardRequest other = one;
    other.gap = 15.f;
    CHECK_FALSE(one == other);
    other = one;
    other.field.y += 1.f;
    CHECK_FALSE(one == other);
}
