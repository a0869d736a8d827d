#pragma once

#include <QString>

namespace Tavola
{
/// `text` with its first placeholder, the lowest of "%1" to "%99", replaced by `value`, whatever `value` holds. A text without
/// one comes back as it is, in silence: QString::arg would write it to the console, with the visitor's name or address.
[[nodiscard]] QString fillPlaceholder(const QString& text, const QString& value);
}
