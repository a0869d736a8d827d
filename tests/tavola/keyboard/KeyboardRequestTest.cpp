#include <Tavola/KeyboardRequest.hpp>

#include "KeyboardDesk.hpp"

#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

using KeyboardTests::keyboardRequest;
using Tavola::KeyboardRequest;
using Vecta::Vector2f;

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
        {"room below", keyboardRequest({600.f, 200.f}), {650.f, 514.f}},
        {"at the left edge", keyboardRequest({-300.f, 200.f}), {0.f, 514.f}},
        {"at the lower edge", keyboardRequest({600.f, 700.f}), {650.f, 880.f}},
        {"at the right edge", keyboardRequest({1500.f, 200.f}), {1420.f, 514.f}},
        {"turned by half a turn", keyboardRequest({1200.f, 600.f}, halfTurn), {1150.f, 286.f}},
        {"turned, at the upper edge", keyboardRequest({1200.f, 500.f}, halfTurn), {1150.f, 200.f}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        CHECK(row.request.usualPlace().x == doctest::Approx(row.topLeft.x));
        CHECK(row.request.usualPlace().y == doctest::Approx(row.topLeft.y));
    }
    KeyboardRequest narrow = keyboardRequest({600.f, 200.f});
    narrow.table = {400.f, 1080.f};
    CHECK(narrow.usualPlace().x == doctest::Approx(-50.f));
}

TEST_CASE("keyboard request: requests are equal when all their parts are")
{
    const KeyboardRequest one = keyboardRequest({600.f, 200.f});
    CHECK(one == keyboardRequest({600.f, 200.f}));
    KeyboardRequest other = one;
    other.gap = 15.f;
    CHECK_FALSE(one == other);
    other = one;
    other.field.y += 1.f;
    CHECK_FALSE(one == other);
}
