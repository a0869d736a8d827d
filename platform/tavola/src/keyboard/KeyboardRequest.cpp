#include <Tavola/KeyboardRequest.hpp>

#include <Vecta/Transform.hpp>

namespace Tavola
{
namespace
{
/// How far `from` .. `from + extent` must move to lie within 0 .. `room`; into the middle when it is too long.
float inwards(float from, float extent, float room)
{
    if (extent > room)
        return (room - extent) / 2.f - from;
    if (from < 0.f)
        return -from;
    return from + extent > room ? room - extent - from : 0.f;
}
}

Vecta::Vector2f KeyboardRequest::movedInwards(Vecta::Vector2f corner) const
{
    const Vecta::Rect there = Vecta::Transform::rotation(angleRadians).mapBounds({corner.x, corner.y, keyboard.x, keyboard.y});
    const Vecta::Vector2f move{inwards(origin.x + there.x, there.width, table.x),
                               inwards(origin.y + there.y, there.height, table.y)};
    return corner + move.rotated(-angleRadians);
}

Vecta::Vector2f KeyboardRequest::usualPlace() const
{
    return onTable(movedInwards({(anchor.x - keyboard.x) / 2.f, anchor.y + gap}));
}
}
