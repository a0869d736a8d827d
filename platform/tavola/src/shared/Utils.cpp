#include <Tavola/Utils.hpp>

namespace Tavola::Utils
{
QByteArray temporaryWidgetCSSClass()
{
    return QByteArrayLiteral("tavola-temporary");
}
}
