#pragma once

#include "keyboard/KeyboardPlacement.hpp"

#include <array>
#include <optional>
#include <vector>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// Keeps a keyboard beside a widget as the widget moves, turns and is scaled, at its own size on the table. Owned by the
/// keyboard; main thread only.
class KeyboardStand
{
public:
    /// Puts `keyboard`, a child of `carrier`, beside `anchor` so that `field` stays in sight; all three are on the table. Does
    /// nothing while nothing has changed since the last call.
    void follow(Trellis::Widget& keyboard, const Trellis::Widget& carrier, const Trellis::Widget& anchor,
                const Trellis::Widget& field);

private:
    std::optional<KeyboardPlacement::Side> m_side;
    std::optional<KeyboardPlacement::Request> m_last;
    /// As they lay when the keyboard opened: one that visitors type on does not jump because of others.
    std::optional<std::vector<std::array<Vecta::Vector2f, 4>>> m_neighbours;
};
}
