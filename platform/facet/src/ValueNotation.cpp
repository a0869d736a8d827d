#include <Facet/ValueNotation.hpp>

#include <Facet/NearestWord.hpp>

namespace Facet
{
QString expectedOneOf(const QStringList& names, const QString& written)
{
    return QStringLiteral("expected one of ") + names.join(QStringLiteral(", ")) + didYouMean(written, names);
}

bool ValueNotation<float>::read(Names names, const StyleValue& value, float& result, QString* error)
{
    const bool isShare = value.terms.size() == 1 && value.terms.first().kind == StyleTerm::Kind::Percentage;
    if (names.percentages == Percentages::Taken && isShare)
        return toFloat(value.terms.first().number / 100.0, result, error);
    if (StyleConversion<float>::read(value, result, error))
        return true;
    if (error && names.percentages == Percentages::Taken && *error == QLatin1String("expected a number"))
        *error += QLatin1String(" or a percentage");
    return false;
}
}
