#include "care/KeyboardSearch.hpp"

#include "KeyboardDesk.hpp"

#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

using Host::KeyboardSearch;
using Side = Host::KeyboardSearch::Side;
using KeyboardTests::keyboardRequest;
using Tavola::KeyboardRequest;
using Vecta::Vector2f;

namespace
{
constexpr float kHalfTurn = Vecta::kPiOf<float>;
}

TEST_CASE("keyboard search: below its space, moved inwards at the edge, elsewhere only where that would cover the space")
{
    struct Row
    {
        const char* what;
        KeyboardRequest request;
        std::optional<Side> now;
        Side side;
        Vector2f topLeft;
    };
    const Row rows[] = {
        {"room below", keyboardRequest({600.f, 200.f}), std::nullopt, Side::Below, {650.f, 514.f}},
        {"at the left edge", keyboardRequest({-300.f, 200.f}), std::nullopt, Side::Below, {0.f, 514.f}},
        {"at the lower edge, where it would cover the space",
         keyboardRequest({600.f, 700.f}),
         std::nullopt,
         Side::Above,
         {650.f, 486.f}},
        {"at the lower edge, field in the way",
         keyboardRequest({600.f, 700.f}, 0.f, 240.f),
         std::nullopt,
         Side::Above,
         {650.f, 486.f}},
        {"stays above while it must", keyboardRequest({600.f, 700.f}), Side::Above, Side::Above, {650.f, 486.f}},
        {"stays above at the left edge", keyboardRequest({-300.f, 400.f}), Side::Above, Side::Above, {0.f, 186.f}},
        {"comes below when there is room", keyboardRequest({600.f, 200.f}), Side::Above, Side::Below, {650.f, 514.f}},
        {"turned by half a turn", keyboardRequest({1200.f, 600.f}, kHalfTurn), std::nullopt, Side::Below, {1150.f, 286.f}},
        {"turned, at the upper edge", keyboardRequest({1200.f, 500.f}, kHalfTurn), std::nullopt, Side::Below, {1150.f, 200.f}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const auto place = KeyboardSearch::find(row.request, row.now);
        CHECK(place.side == row.side);
        CHECK(place.topLeft.x == doctest::Approx(row.topLeft.x));
        CHECK(place.topLeft.y == doctest::Approx(row.topLeft.y));
    }
}

TEST_CASE("keyboard search: where the field is covered on every side, the side that covers least")
{
    // A table hardly higher than the space, whose field goes over all of it but a strip at the right.
    auto tight = keyboardRequest({10.f, 10.f});
    tight.table = {700.f, 320.f};
    tight.field = {0.f, 0.f, 400.f, 300.f};
    const auto place = KeyboardSearch::find(tight, std::nullopt);
    CHECK(place.side == Side::Right);
    CHECK(place.topLeft.x == doctest::Approx(200.f));
}

TEST_CASE(
    "keyboard search: where a part of the space is covered on every side, the field stays in sight and the least is covered")
{
    auto tight = keyboardRequest({10.f, 10.f});
    tight.table = {700.f, 420.f};
    const auto place = KeyboardSearch::find(tight, std::nullopt);
    CHECK(place.side == Side::Below);
    CHECK(place.topLeft.y == doctest::Approx(220.f));
}

TEST_CASE("keyboard search: on a side where it covers no neighbour, and else where it covers least of them")
{
    const auto at = [](std::vector<Vecta::Rect> neighbours) {
        return KeyboardSearch::find(keyboardRequest({600.f, 400.f}), std::nullopt, neighbours);
    };
    const Vecta::Rect below{0.f, 400.f, 600.f, 300.f};
    const Vecta::Rect above{0.f, -300.f, 600.f, 250.f};
    CHECK(at({}).side == Side::Below);
    CHECK(at({{0.f, 600.f, 600.f, 80.f}}).side == Side::Below);
    CHECK(at({below}).side == Side::Above);
    CHECK(at({below, above}).side == Side::Right);
    CHECK(at({below, above, {620.f, 0.f, 600.f, 300.f}}).side == Side::Left);
    CHECK(at({below, {0.f, -30.f, 600.f, 20.f}, {620.f, 0.f, 600.f, 300.f}, {-400.f, 0.f, 200.f, 300.f}}).side == Side::Above);
    CHECK(KeyboardSearch::find(keyboardRequest({600.f, 400.f}), Side::Right, {below, above}).side == Side::Right);
    CHECK(KeyboardSearch::find(keyboardRequest({600.f, 400.f}), Side::Above, {below, above}).side == Side::Right);
}

TEST_CASE("keyboard search: the space itself counts more than its neighbours")
{
    auto low = keyboardRequest({600.f, 770.f});
    CHECK(KeyboardSearch::find(low, std::nullopt,
                               {{0.f, -300.f, 600.f, 290.f}, {610.f, -300.f, 900.f, 900.f}, {-900.f, -300.f, 890.f, 900.f}})
              .side
          != Side::Below);
}
