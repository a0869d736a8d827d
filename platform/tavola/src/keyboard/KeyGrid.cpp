#include "keyboard/KeyGrid.hpp"

#include <algorithm>

namespace Tavola
{
KeyGrid KeyGrid::of(const KeyboardLayout::Rows& rows, float sidePx, float gapPx)
{
    const float border = gapPx * 2.f;
    const float step = sidePx + gapPx;
    float widest = 0.f;
    std::vector<float> widths;
    for (const auto& row : rows) {
        float width = 0.f;
        for (const KeyboardKey& key : row)
            width += key.width;
        widths.push_back(width);
        widest = std::max(widest, width);
    }
    KeyGrid grid;
    float y = border;
    for (std::size_t r = 0; r < rows.size(); ++r) {
        float x = border + (widest - widths[r]) * step / 2.f;
        for (const KeyboardKey& key : rows[r]) {
            if (key.action != KeyboardKey::Action::Gap)
                grid.keys.push_back({&key, {x, y, std::max(key.width * step - gapPx, sidePx), sidePx}});
            x += key.width * step;
        }
        y += step;
    }
    grid.size = {widest * step - gapPx + 2.f * border, y - gapPx + border};
    return grid;
}
}
