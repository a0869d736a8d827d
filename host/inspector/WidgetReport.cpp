#include "WidgetReport.hpp"

#include <Facet/Attribute.hpp>
#include <Trellis/Operator.hpp>
#include <Trellis/Widget.hpp>

#include <QJsonArray>

namespace Host
{
namespace
{
QJsonArray names(const QList<QByteArray>& list)
{
    QJsonArray result;
    for (const QByteArray& name : list)
        result.append(QString::fromUtf8(name));
    return result;
}
}

QJsonObject ownReport(const Trellis::Widget& widget)
{
    const Vecta::Rect bounds = widget.sceneBounds();
    QJsonObject attributes;
    for (const Facet::Attribute* attribute : widget.attributes())
        attributes.insert(QString::fromUtf8(attribute->name()),
                          QJsonObject{{"value", attribute->toText()}, {"layer", attribute->visibleLayer()}});
    return {
        {"id", qint64(widget.id())},
        {"type", QString::fromUtf8(widget.cssType())},
        {"cssId", QString::fromUtf8(widget.cssId())},
        {"classes", names(widget.cssClasses())},
        {"pseudoClasses", names(widget.pseudoClasses())},
        {"rect",
         QJsonObject{{"x", double(bounds.x)},
                     {"y", double(bounds.y)},
                     {"width", double(bounds.width)},
                     {"height", double(bounds.height)}}},
        {"rotation", double(widget.rotation())},
        {"scale", double(widget.scale())},
        {"opacity", double(widget.opacity())},
        {"visible", widget.isVisible()},
        {"attributes", attributes},
    };
}

QJsonObject widgetReport(const Trellis::Widget& widget)
{
    QJsonArray children;
    for (const auto& child : widget.children())
        children.append(widgetReport(*child));
    QJsonObject report = ownReport(widget);
    report.insert(QStringLiteral("children"), children);
    return report;
}
}
