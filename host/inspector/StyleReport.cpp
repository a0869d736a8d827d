#include "StyleReport.hpp"

#include <Cascara/StyleEngine.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonObject>

namespace Host
{
QJsonArray styleReport(const Trellis::Widget& widget)
{
    QJsonArray report;
    for (const auto& declaration : Cascara::StyleEngine::instance().matchedDeclarations(widget))
        report.append(QJsonObject{{"attribute", QString::fromUtf8(declaration.attribute)},
                                  {"value", declaration.value},
                                  {"selector", declaration.selector},
                                  {"sheet", declaration.sheet},
                                  {"line", declaration.line},
                                  {"column", declaration.column}});
    return report;
}
}
