#pragma once

#include <QByteArray>
#include <QString>

namespace Tavola
{
/// The place where the JSON parser stopped as "line:column", both from 1. `parserOffset` is QJsonParseError's.
[[nodiscard]] QString jsonPosition(const QByteArray& text, int parserOffset);
}
