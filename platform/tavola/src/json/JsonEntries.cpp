#include <Tavola/JsonEntries.hpp>

namespace Tavola
{
JsonEntries::JsonEntries(QJsonObject object, QString place, Skip skip)
    : m_object(std::move(object)), m_place(std::move(place)), m_skip(std::move(skip))
{
}

JsonEntries JsonEntries::of(const QJsonValue& value, const QString& place, const Skip& skip)
{
    if (!value.isUndefined() && !value.isObject())
        skip(place, QStringLiteral("expected an object of names and values"));
    return {value.toObject(), place, skip};
}

QString JsonEntries::joined(const QString& place, const QString& key)
{
    if (place.isEmpty())
        return key;
    QString result;
    result.reserve(place.size() + 1 + key.size());
    result += place;
    result += QLatin1Char('.');
    result += key;
    return result;
}

void JsonEntries::checkKnown(const QStringList& known) const
{
    for (auto it = m_object.begin(); it != m_object.end(); ++it)
        if (!known.contains(it.key()))
            skip(it.key(), QStringLiteral("unknown entry; known are ") + known.join(QLatin1String(", ")));
}

QString JsonEntries::text(const QString& key, const QString& usual) const
{
    const QJsonValue given = value(key);
    if (given.isString())
        return given.toString();
    if (!given.isUndefined())
        skip(key, QStringLiteral("expected a text"));
    return usual;
}

double JsonEntries::number(const QString& key, double usual, double most) const
{
    const QJsonValue given = value(key);
    if (given.isUndefined())
        return usual;
    const double number = given.toDouble(-1.0);
    if (number >= 0.0 && number <= most)
        return number;
    skip(key, QStringLiteral("expected a number from 0 to %1").arg(most));
    return usual;
}

double JsonEntries::positive(const QString& key, double usual, double most) const
{
    const QJsonValue given = value(key);
    if (given.isUndefined())
        return usual;
    const double number = given.toDouble(-1.0);
    if (number > 0.0 && number <= most)
        return number;
    skip(key, QStringLiteral("expected a number above 0 and up to %1").arg(most));
    return usual;
}

bool JsonEntries::flag(const QString& key, bool usual) const
{
    const QJsonValue given = value(key);
    if (!given.isUndefined() && !given.isBool())
        skip(key, QStringLiteral("expected true or false"));
    return given.toBool(usual);
}

QJsonArray JsonEntries::list(const QString& key, const char* what) const
{
    const QJsonValue given = value(key);
    if (!given.isUndefined() && !given.isArray())
        skip(key, QStringLiteral("expected a list of ") + QLatin1String(what));
    return given.toArray();
}
}
