#pragma once

#include <QJsonObject>

namespace Tavola
{
/// What a component declares about itself: its kind, its slots, its properties. Read from a package's JSON under the
/// component's name; an empty schema declares nothing.
class Schema
{
public:
    Schema() = default;
    explicit Schema(QJsonObject object) : m_object(std::move(object)) {}

    [[nodiscard]] bool isEmpty() const { return m_object.isEmpty(); }
    /// The "type" entry: "widget" or "widget-instance".
    [[nodiscard]] QString type() const { return m_object.value(QLatin1String("type")).toString(); }
    [[nodiscard]] const QJsonObject& object() const { return m_object; }

private:
    QJsonObject m_object;
};
}
