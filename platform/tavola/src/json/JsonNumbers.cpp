#include "json/JsonNumbers.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace Tavola
{
namespace
{
const QString kKey = QStringLiteral("number");
/// In characters; the places that people's files have are far shorter.
constexpr int kLongestPlace = 4096;
}

/// Walks through a well-formed text; what is malformed only ends the walk early.
class JsonNumbers::Scanner
{
public:
    Scanner(const QByteArray& json, QHash<QString, QString>& texts, QString wanted = QString())
        : m_json(json), m_texts(texts), m_wanted(std::move(wanted))
    {
        if (m_json.startsWith("\xEF\xBB\xBF"))
            m_at = 3;
    }

    void value(const QString& place)
    {
        const char first = next();
        if (!m_wanted.isEmpty() && place == m_wanted && m_found < 0)
            m_found = m_at;
        switch (first) {
        case '{': return object(place);
        case '[': return array(place);
        case '"': static_cast<void>(text()); return;
        default: break;
        }
        const int start = m_at;
        while (m_at < m_json.size() && !QByteArray(",]} \t\r\n").contains(m_json.at(m_at)))
            ++m_at;
        const QByteArray word = m_json.mid(start, m_at - start);
        if (!word.isEmpty() && (word.at(0) == '-' || (word.at(0) >= '0' && word.at(0) <= '9')))
            m_texts.insert(place, QString::fromLatin1(word));
    }

    /// Where the wanted place begins; -1 when it was not met.
    [[nodiscard]] int found() const noexcept { return m_found; }

private:
    /// A place that is too long stays as it is, so that many numbers below long names do not take quadratic time.
    static QString joined(const QString& place, const QString& inside)
    {
        return place.size() + inside.size() > kLongestPlace ? place : place + inside;
    }

    /// The next character that is no blank; 0 at the end.
    char next()
    {
        while (m_at < m_json.size() && QByteArray(" \t\r\n").contains(m_json.at(m_at)))
            ++m_at;
        return m_at < m_json.size() ? m_json.at(m_at) : '\0';
    }

    void object(const QString& place)
    {
        ++m_at;
        while (next() == '"') {
            const QString key = text();
            if (next() != ':')
                return;
            ++m_at;
            value(joined(place, place.isEmpty() ? key : QLatin1Char('.') + key));
            if (next() == ',')
                ++m_at;
        }
        if (next() == '}')
            ++m_at;
    }

    void array(const QString& place)
    {
        ++m_at;
        for (int i = 0; next() != ']' && next() != '\0'; ++i) {
            const int start = m_at;
            value(joined(place, QLatin1Char('[') + QString::number(i) + QLatin1Char(']')));
            if (next() == ',')
                ++m_at;
            if (m_at == start)
                return;
        }
        if (next() == ']')
            ++m_at;
    }

    QString text()
    {
        const int start = m_at++;
        bool hasEscapes = false;
        while (m_at < m_json.size() && m_json.at(m_at) != '"') {
            hasEscapes = hasEscapes || m_json.at(m_at) == '\\';
            m_at += m_json.at(m_at) == '\\' ? 2 : 1;
        }
        ++m_at;
        const QByteArray quoted = m_json.mid(start, m_at - start);
        return hasEscapes ? QJsonDocument::fromJson('[' + quoted + ']').array().at(0).toString()
                          : QString::fromUtf8(quoted.mid(1, quoted.size() - 2));
    }

    const QByteArray& m_json;
    QHash<QString, QString>& m_texts;
    QString m_wanted;
    int m_found = -1;
    int m_at = 0;
};

JsonNumbers::JsonNumbers(const QByteArray& json)
{
    Scanner(json, m_texts).value(QString());
}

QString JsonNumbers::positionOf(const QByteArray& json, const QString& place)
{
    QHash<QString, QString> unused;
    Scanner scanner(json, unused, place);
    scanner.value(QString());
    if (scanner.found() < 0)
        return {};
    const QByteArray before = json.left(scanner.found());
    const int lineStart = before.lastIndexOf('\n') + 1;
    return QStringLiteral("%1:%2").arg(before.count('\n') + 1).arg(QString::fromUtf8(before.mid(lineStart)).size() + 1);
}

QJsonValue JsonNumbers::withDigits(const QString& digits)
{
    return QJsonObject{{kKey, digits}};
}

QString JsonNumbers::digitsOf(const QJsonValue& value)
{
    const QJsonObject object = value.toObject();
    return object.size() == 1 ? object.value(kKey).toString() : QString();
}
}
