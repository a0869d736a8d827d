#pragma once

#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// Whether the widget lies in the tree of the application's main layer.
[[nodiscard]] bool isOnTable(const Trellis::Widget& widget);

/// How a widget is turned (radians) and scaled on the table, everything around it included.
[[nodiscard]] float sceneRotation(const Trellis::Widget& widget);
[[nodiscard]] float sceneScale(const Trellis::Widget& widget);

/// The centre nearest to `center` with which a widget, as it is turned and with the scale `scale`, stands wholly on the table;
/// of a widget that is larger than the table the left and upper edges show. Points are in `parent`'s coordinates; `widget`
/// need not be its child yet.
[[nodiscard]] Vecta::Vector2f centerOnTable(const Trellis::Widget& widget, float scale, const Trellis::Widget& parent,
                                            Vecta::Vector2f center);
}
