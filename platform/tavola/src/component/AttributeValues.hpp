#pragma once

#include <Facet/StyleValue.hpp>

#include <QByteArray>
#include <QJsonValue>
#include <QString>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// Sets an attribute of a widget by name on its default layer, where style sheets and code go above it. `value` is written
/// as in a style sheet: identifiers, numbers, lengths and percentages separated by blanks. The attribute must exist.
void setDefault(Trellis::Widget& widget, const char* attribute, const char* value);

/// Sets an attribute of a widget by name on the run-time layer to what a JSON file says: a text, a number, true or false,
/// or a list of these. False, with the reason in `error`, when there is no such attribute or the value does not fit.
[[nodiscard]] bool setFromJson(Trellis::Widget& widget, const QString& attribute, const QJsonValue& value, QString& error);
}
