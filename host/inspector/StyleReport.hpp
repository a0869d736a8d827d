#pragma once

#include <QJsonArray>

namespace Trellis
{
class Widget;
}

namespace Host
{
/// The style declarations that apply to a widget, the weakest first: of several for one attribute the last one counts, unless the
/// program has set the attribute itself (layer 2 in the widget report):
///     [{ "attribute": "width", "value": "100px", "selector": ".tile", "sheet": "hall.css", "line": 6, "column": 9 }]
/// Main thread.
[[nodiscard]] QJsonArray styleReport(const Trellis::Widget& widget);
}
