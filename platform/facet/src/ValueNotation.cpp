#include <Facet/ValueNotation.hpp>

#include <Facet/NearestWord.hpp>

namespace Facet
{
QString expectedOneOf(const QStringList& names, const QString& written)
{
    return QStringLiteral("expected one of ") + names.join(QStringLiteral(", ")) + didYouMean(written, names);
}
}
