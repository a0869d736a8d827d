#pragma once

#include <Tavola/KeyboardRequest.hpp>

#include <optional>
#include <vector>

namespace Host
{
/// The place of a keyboard beside what it belongs to, its anchor. Pure geometry, in table pixels.
struct KeyboardSearch
{
    enum class Side { Below, Above, Right, Left };
    struct Place
    {
        Side side;
        Vecta::Vector2f topLeft; ///< on the table
    };

    /// Below the anchor where that is possible. Otherwise moved inwards as far as it sticks out of the table, on the first side
    /// of `now`, below, above, right and left where it covers nothing of the anchor and of its neighbours; where there is none,
    /// on the side where it covers least of the field, then of the anchor, and then of its neighbours, which are given in the
    /// anchor's coordinates.
    [[nodiscard]] static Place find(const Tavola::KeyboardRequest& request, std::optional<Side> now,
                                    const std::vector<Vecta::Rect>& neighbours = {});
};
}
