#pragma once

#include <QString>

namespace Tavola
{
/// `text` with its first placeholder, the lowest of "%1" to "%99", replaced by `value`, which may contain anything. A text
/// without a placeholder is returned as it is: QString::arg would print it to the console, with the visitor's name or address.
[[nodiscard]] QString fillPlaceholder(const QString& text, const QString& value);
}
