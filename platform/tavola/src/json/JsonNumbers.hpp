#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonValue>
#include <QString>

namespace Tavola
{
/// The numbers of a JSON file as they are written there. Qt reads every number as a double, which loses digits: 10.50 and 1e3
/// are 10.5 and 1000, and whole numbers above 2^53 are rounded. A plain value; any thread.
class JsonNumbers
{
public:
    JsonNumbers() = default;
    /// `json`: a text that QJsonDocument reads without an error.
    explicit JsonNumbers(const QByteArray& json);

    /// The digits of the number at a place ("widgets[3].attributes.gap"); empty where the file has no number.
    [[nodiscard]] QString at(const QString& place) const { return m_texts.value(place); }

    /// Line and column of the value at a place, "12:5", both from 1; empty where the text has no such place.
    [[nodiscard]] static QString positionOf(const QByteArray& json, const QString& place);

    /// A number together with its digits, as one JSON value: { "number": "10.50" }.
    [[nodiscard]] static QJsonValue withDigits(const QString& digits);
    /// The digits of what `withDigits` made; empty for every other value.
    [[nodiscard]] static QString digitsOf(const QJsonValue& value);

private:
    class Scanner;
    QHash<QString, QString> m_texts; ///< by place
};
}
