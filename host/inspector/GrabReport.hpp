#pragma once

#include <QJsonArray>

namespace Trellis
{
class GrabManager;
}

namespace Host
{
/// The cards on the table with the widgets that hold them, in the order of the input's sample:
///     [{ "id": 7, "code": "1001", "holder": { "id": 12, "type": "LayerWidget", "cssId": "main" } }]
/// Codes are texts because JSON's numbers are exact up to 2^53 only; "holder" is null for a card without one. Main thread.
[[nodiscard]] QJsonArray grabReport(const Trellis::GrabManager& grabManager);
}
