#pragma once

#include <QByteArray>
#include <QString>

namespace Tavola
{
/// Where the JSON parser stopped, as people count: "12:5", line and column from 1. `parserOffset` is QJsonParseError's.
[[nodiscard]] QString jsonPosition(const QByteArray& text, int parserOffset);
}
