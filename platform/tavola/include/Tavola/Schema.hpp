#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

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
    /// The "restrictions" entry: attributes that keep something out. A component that is given an unusable value for one of
    /// them is not made at all.
    [[nodiscard]] QStringList restrictions() const
    {
        QStringList names;
        for (const QJsonValue& name : m_object.value(QLatin1String("restrictions")).toArray())
            names << name.toString();
        return names;
    }
    [[nodiscard]] const QJsonObject& object() const { return m_object; }

private:
    QJsonObject m_object;
};
}
