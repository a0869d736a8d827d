#pragma once

#include <QJsonArray>

namespace Trellis
{
class GrabManager;
}

namespace Host
{
/// The cards that lie on the table and who holds each, in the order in which they lie in the input:
///     [{ "id": 7, "code": "1001", "holder": { "id": 12, "type": "LayerWidget", "cssId": "main" } }]
/// Codes are texts because JSON's numbers are exact up to 2^53 only; "holder" is null for a card that nobody holds. Main thread.
[[nodiscard]] QJsonArray grabReport(const Trellis::GrabManager& grabManager);
}
