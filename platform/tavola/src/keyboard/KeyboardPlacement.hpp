#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <optional>
#include <vector>

namespace Tavola
{
/// Where a keyboard stands beside what it belongs to. Pure geometry, in table pixels.
namespace KeyboardPlacement
{
enum class Side { Below, Above, Right, Left };

/// All but `table` in coordinates that are turned by the angle and begin at the anchor's top left corner.
struct Request
{
    Vecta::Vector2f origin; ///< the anchor's top left corner on the table
    float angleRadians = 0.f;
    Vecta::Vector2f anchor; ///< the size of what the keyboard stands beside
    Vecta::Rect field;      ///< must stay in sight
    Vecta::Vector2f keyboard;
    Vecta::Vector2f table;
    float gap = 0.f; ///< between the two

    friend bool operator==(const Request& a, const Request& b)
    {
        return a.origin == b.origin && a.angleRadians == b.angleRadians && a.anchor == b.anchor && a.field == b.field
            && a.keyboard == b.keyboard && a.table == b.table && a.gap == b.gap;
    }
};

struct Place
{
    Side side;
    Vecta::Vector2f topLeft; ///< on the table
};

/// Below the anchor where that is possible. Otherwise moved inwards as far as it sticks out of the table, on the first side of
/// `now`, below, above, right and left where it covers nothing of the anchor and of its neighbours; where there is none, on the
/// side where it covers least of the field, then of the anchor, and then of its neighbours, which are given as the field is.
[[nodiscard]] Place find(const Request& request, std::optional<Side> now, const std::vector<Vecta::Rect>& neighbours = {});
}
}
