#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

namespace Tavola
{
/// What a keyboard opens beside, the anchor. A plain record of table pixels; all but `origin` and `table` in coordinates that are
/// turned by the angle and begin at the anchor's top left corner.
struct TAVOLA_EXPORT KeyboardRequest
{
    Vecta::Vector2f origin; ///< the anchor's top left corner on the table
    float angleRadians = 0.f;
    Vecta::Vector2f anchor; ///< its size
    Vecta::Rect field;      ///< should stay in sight
    Vecta::Vector2f keyboard;
    Vecta::Vector2f table;
    float gap = 0.f; ///< between the two

    /// The usual place of the keyboard's top left corner, on the table: below the anchor, moved inwards as far as the keyboard
    /// would stick out of the table.
    [[nodiscard]] Vecta::Vector2f usualPlace() const;
    /// The top left corner that is nearest to `corner`, both in the anchor's coordinates, with which the keyboard is whole on the
    /// table. One that is too large for it is put in the middle.
    [[nodiscard]] Vecta::Vector2f movedInwards(Vecta::Vector2f corner) const;
    /// From the anchor's coordinates to the table.
    [[nodiscard]] Vecta::Vector2f onTable(Vecta::Vector2f point) const { return origin + point.rotated(angleRadians); }

    friend bool operator==(const KeyboardRequest& a, const KeyboardRequest& b)
    {
        return a.origin == b.origin && a.angleRadians == b.angleRadians && a.anchor == b.anchor && a.field == b.field
            && a.keyboard == b.keyboard && a.table == b.table && a.gap == b.gap;
    }
};
}
