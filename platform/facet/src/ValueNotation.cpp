#include <Facet/ValueNotation.hpp>

namespace Facet
{
QString expectedOneOf(const QStringList& names)
{
    return QStringLiteral("expected one of ") + names.join(QStringLiteral(", "));
}
}
