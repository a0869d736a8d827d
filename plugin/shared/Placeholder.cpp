#include "shared/Placeholder.hpp"

namespace Tavola
{
namespace
{
/// Whether QString::arg would replace something: a percent sign and a digit, with or without an L between them.
bool hasPlaceholder(const QString& text)
{
    for (int i = text.indexOf(QLatin1Char('%')); i >= 0; i = text.indexOf(QLatin1Char('%'), i + 1)) {
        const int digit = text.midRef(i + 1, 1) == QLatin1String("L") ? i + 2 : i + 1;
        if (digit < text.size() && text.at(digit).digitValue() >= 0)
            return true;
    }
    return false;
}
}

QString fillPlaceholder(const QString& text, const QString& value)
{
    return hasPlaceholder(text) ? text.arg(value, 0, QLatin1Char(' ')) : text;
}
}
