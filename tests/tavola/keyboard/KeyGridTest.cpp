#include "keyboard/KeyGrid.hpp"

#include <doctest/doctest.h>

using Action = Tavola::KeyboardKey::Action;
using Tavola::KeyboardLayout;
using Tavola::KeyGrid;
using Vecta::Rect;

namespace
{
Tavola::KeyboardKey key(float width, Action action = Action::Text)
{
    return {action, {}, {}, width};
}
}

TEST_CASE("key grid: rows stand below one another in the middle of the longest, with a border of two gaps")
{
    const KeyboardLayout::Rows rows{{key(1.f), key(1.f), key(1.f)}, {key(1.f)}};
    const KeyGrid grid = KeyGrid::of(rows, 40.f, 5.f);
    REQUIRE(grid.keys.size() == 4);
    CHECK(grid.keys[0].rect == Rect{10.f, 10.f, 40.f, 40.f});
    CHECK(grid.keys[2].rect == Rect{100.f, 10.f, 40.f, 40.f});
    CHECK(grid.keys[3].rect == Rect{55.f, 55.f, 40.f, 40.f});
    CHECK(grid.keys[3].key == &rows[1][0]);
    CHECK(grid.size == Vecta::Vector2f(150.f, 105.f));
}

TEST_CASE("key grid: a wide key covers the gaps between the keys it stands for, and no key is narrower than one")
{
    const KeyboardLayout::Rows rows{{key(2.5f), key(0.5f), key(1.f)}};
    const KeyGrid grid = KeyGrid::of(rows, 40.f, 10.f);
    REQUIRE(grid.keys.size() == 3);
    CHECK(grid.keys[0].rect == Rect{20.f, 20.f, 115.f, 40.f});
    CHECK(grid.keys[1].rect == Rect{145.f, 20.f, 40.f, 40.f});
    CHECK(grid.keys[2].rect == Rect{170.f, 20.f, 40.f, 40.f});
}

TEST_CASE("key grid: a gap takes its room and is no key")
{
    const KeyGrid grid = KeyGrid::of({{key(1.f), key(1.f, Action::Gap), key(1.f)}}, 40.f, 0.f);
    REQUIRE(grid.keys.size() == 2);
    CHECK(grid.keys[1].rect.x == 80.f);
    CHECK(grid.size == Vecta::Vector2f(120.f, 40.f));
}
