#pragma once

#include <Tavola/KeyboardLayout.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <vector>

namespace Tavola
{
/// Where the keys of a layout stand: rows below one another, each in the middle of the longest. A key of n widths covers n keys
/// and the gaps between them, and none is narrower than a key of one width. Pure geometry, in pixels of the keyboard.
struct KeyGrid
{
    struct Place
    {
        const KeyboardKey* key; ///< of the rows given
        Vecta::Rect rect;
    };
    std::vector<Place> keys; ///< without gaps
    Vecta::Vector2f size;    ///< with a border of two gaps

    [[nodiscard]] static KeyGrid of(const KeyboardLayout::Rows& rows, float sidePx, float gapPx);
};
}
