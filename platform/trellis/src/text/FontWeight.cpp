#include "text/FontWeight.hpp"

namespace Facet
{
bool StyleConversion<Trellis::FontWeight>::read(const StyleValue& value, Trellis::FontWeight& result, QString* error)
{
    const QString word = singleWord(value).toLower();
    if (word == QLatin1String("normal")) {
        result.value = 400;
        return true;
    }
    if (word == QLatin1String("bold")) {
        result.value = 700;
        return true;
    }
    if (value.terms.size() == 1 && value.terms.first().kind == StyleTerm::Kind::Number && value.terms.first().number >= 1.0
        && value.terms.first().number <= 1000.0) {
        result.value = int(value.terms.first().number);
        return true;
    }
    if (error)
        *error = QStringLiteral("expected a number from 100 to 900, normal or bold");
    return false;
}

QString StyleConversion<Trellis::FontWeight>::write(const Trellis::FontWeight& value)
{
    return QString::number(value.value);
}
}
