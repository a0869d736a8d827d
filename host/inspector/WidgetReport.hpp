#pragma once

#include <QJsonObject>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// A widget and everything below it as JSON: id, type, cssId, classes, pseudoClasses, rect (upright, in scene pixels),
/// rotation (radians), scale, opacity, visible, attributes (name → value and layer), children. Public interfaces only.
[[nodiscard]] QJsonObject widgetReport(const Trellis::Widget& widget);
/// As above, without what is below the widget: no member "children".
[[nodiscard]] QJsonObject ownReport(const Trellis::Widget& widget);
}
