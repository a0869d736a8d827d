#include "Items.hpp"

#include <QDateTime>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>
#include <array>

namespace MediaServer
{

namespace
{

constexpr int kTokenBytes = 16;

QString kindText(ItemKind kind)
{
    return kind == ItemKind::Url ? QStringLiteral("url") : QStringLiteral("filename");
}

QString newToken()
{
    std::array<quint32, kTokenBytes / sizeof(quint32)> bits;
    QRandomGenerator::system()->generate(bits.begin(), bits.end());
    const auto bytes = QByteArray(reinterpret_cast<const char*>(bits.data()), kTokenBytes);
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

/// A time as the tables have it.
QString daysAgo(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(-days).toString(QStringLiteral("yyyy-MM-ddTHH:mm:ssZ"));
}

Item readItem(const QSqlQuery& row)
{
    Item item;
    item.id = row.value(0).toLongLong();
    item.kind = row.value(1).toString() == QLatin1String("url") ? ItemKind::Url : ItemKind::File;
    item.value = row.value(2).toString();
    item.displayName = row.value(3).toString();
    item.systemName = row.value(4).toString();
    return item;
}

}

Storage::Schema Items::schema()
{
    return {QStringLiteral("pages"),
            QStringLiteral("the items of people's pages"),
            {
                {1,
                 "CREATE TABLE person ("
                 " tessel INTEGER PRIMARY KEY,"
                 " token TEXT NOT NULL UNIQUE,"
                 " since TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%SZ', 'now')))",
                 "CREATE TABLE person (tessel BIGINT PRIMARY KEY, token TEXT NOT NULL UNIQUE, since TEXT NOT NULL)"},
                // AUTOINCREMENT: the id is part of addresses that browsers remember, so it must not be used for another item.
                {1,
                 "CREATE TABLE item ("
                 " id INTEGER PRIMARY KEY AUTOINCREMENT,"
                 " tessel INTEGER NOT NULL REFERENCES person (tessel) ON DELETE CASCADE,"
                 " kind TEXT NOT NULL CHECK (kind IN ('url', 'filename')),"
                 " value TEXT NOT NULL,"
                 " displayname TEXT NOT NULL,"
                 " systemname TEXT NOT NULL,"
                 " added TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%SZ', 'now')),"
                 " UNIQUE (tessel, kind, value))",
                 "CREATE TABLE item ("
                 " id BIGINT GENERATED ALWAYS AS IDENTITY PRIMARY KEY,"
                 " tessel BIGINT NOT NULL REFERENCES person (tessel) ON DELETE CASCADE,"
                 " kind TEXT NOT NULL CHECK (kind IN ('url', 'filename')),"
                 " value TEXT NOT NULL,"
                 " displayname TEXT NOT NULL,"
                 " systemname TEXT NOT NULL,"
                 " added TEXT NOT NULL);"
                 // A web address may be longer than an index allows.
                 "CREATE UNIQUE INDEX item_of_person ON item (tessel, kind, md5(value))"},
                {2,
                 "CREATE TABLE expected ("
                 " name TEXT PRIMARY KEY,"
                 " sha256 TEXT NOT NULL,"
                 " size INTEGER NOT NULL,"
                 " announced TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%SZ', 'now')))",
                 "CREATE TABLE expected (name TEXT PRIMARY KEY, sha256 TEXT NOT NULL, size BIGINT NOT NULL, announced TEXT NOT "
                 "NULL)"},
            }};
}

QString Items::knownToken(qint64 tessel)
{
    QString token;
    m_transaction.run(QStringLiteral("SELECT token FROM person WHERE tessel = ?"), {tessel},
                      [&token](const QSqlQuery& row) { token = row.value(0).toString(); });
    return token;
}

QString Items::tokenFor(qint64 tessel)
{
    QString token = knownToken(tessel);
    if (!token.isEmpty() || !m_transaction)
        return token;
    token = newToken();
    m_transaction.run(QStringLiteral("INSERT INTO person (tessel, token, since) VALUES (?, ?, ?)"), {tessel, token, daysAgo(0)});
    return token;
}

QString Items::renewToken(qint64 tessel)
{
    const QString token = newToken();
    m_transaction.run(QStringLiteral("UPDATE person SET token = ? WHERE tessel = ?"), {token, tessel});
    return token;
}

std::optional<qint64> Items::personOf(const QString& token)
{
    std::optional<qint64> tessel;
    m_transaction.run(QStringLiteral("SELECT tessel FROM person WHERE token = ?"), {token},
                      [&tessel](const QSqlQuery& row) { tessel = row.value(0).toLongLong(); });
    return tessel;
}

void Items::add(qint64 tessel, const Item& item)
{
    (void)tokenFor(tessel);
    // No other transaction writes meanwhile, so what was not there is not there yet.
    m_transaction.run(
        QStringLiteral("UPDATE item SET displayname = ?, systemname = ? WHERE tessel = ? AND kind = ? AND value = ?"),
        {item.displayName, item.systemName, tessel, kindText(item.kind), item.value});
    if (m_transaction && m_transaction.changedRows() == 0) {
        m_transaction.run(
            QStringLiteral("INSERT INTO item (tessel, kind, value, displayname, systemname, added) VALUES (?, ?, ?, ?, ?, ?)"),
            {tessel, kindText(item.kind), item.value, item.displayName, item.systemName, daysAgo(0)});
    }
}

bool Items::hasRoom(qint64 tessel, const Item& item, int most)
{
    int count = 0;
    m_transaction.run(QStringLiteral("SELECT count(*) FROM item WHERE tessel = ?"), {tessel},
                      [&count](const QSqlQuery& row) { count = row.value(0).toInt(); });
    if (count < most)
        return true;
    bool isThere = false;
    m_transaction.run(QStringLiteral("SELECT 1 FROM item WHERE tessel = ? AND kind = ? AND value = ?"),
                      {tessel, kindText(item.kind), item.value}, [&isThere](const QSqlQuery&) { isThere = true; });
    return isThere;
}

bool Items::remove(qint64 tessel, ItemKind kind, const QString& value)
{
    return m_transaction.run(QStringLiteral("DELETE FROM item WHERE tessel = ? AND kind = ? AND value = ?"),
                             {tessel, kindText(kind), value})
        && m_transaction.changedRows() > 0;
}

void Items::remove(qint64 tessel, qint64 id)
{
    m_transaction.run(QStringLiteral("DELETE FROM item WHERE tessel = ? AND id = ?"), {tessel, id});
}

void Items::removeAll(qint64 tessel)
{
    m_transaction.run(QStringLiteral("DELETE FROM item WHERE tessel = ?"), {tessel});
}

std::vector<Item> Items::items(qint64 tessel)
{
    std::vector<Item> result;
    m_transaction.run(QStringLiteral("SELECT id, kind, value, displayname, systemname FROM item WHERE tessel = ? ORDER BY id"),
                      {tessel}, [&result](const QSqlQuery& row) { result.push_back(readItem(row)); });
    return result;
}

std::optional<Item> Items::item(qint64 tessel, qint64 id)
{
    std::optional<Item> result;
    m_transaction.run(QStringLiteral("SELECT id, kind, value, displayname, systemname FROM item WHERE tessel = ? AND id = ?"),
                      {tessel, id}, [&result](const QSqlQuery& row) { result = readItem(row); });
    return result;
}

bool Items::hasPeople()
{
    bool isAny = false;
    m_transaction.run(QStringLiteral("SELECT 1 FROM person LIMIT 1"), {}, [&isAny](const QSqlQuery&) { isAny = true; });
    return isAny;
}

QDate Items::lastAddition(qint64 tessel)
{
    QString last;
    m_transaction.run(QStringLiteral("SELECT since FROM person WHERE tessel = ?"
                                     " UNION ALL SELECT coalesce(max(added), '') FROM item WHERE tessel = ?"),
                      {tessel, tessel}, [&last](const QSqlQuery& row) { last = std::max(last, row.value(0).toString()); });
    return QDate::fromString(last.left(10), Qt::ISODate);
}

int Items::removeOlderThan(int days, int most)
{
    const QString limit = daysAgo(days);
    const bool isDone = m_transaction.run(
        QStringLiteral("DELETE FROM person WHERE tessel IN (SELECT tessel FROM person WHERE since < ? AND NOT EXISTS"
                       " (SELECT 1 FROM item WHERE item.tessel = person.tessel AND added >= ?) LIMIT ?)"),
        {limit, limit, most});
    return isDone ? m_transaction.changedRows() : 0;
}

bool Items::expect(const ExpectedFile& file)
{
    return m_transaction.run(QStringLiteral("INSERT INTO expected (name, sha256, size, announced) VALUES (?, ?, ?, ?)"
                                            " ON CONFLICT (name) DO UPDATE"
                                            " SET sha256 = excluded.sha256, size = excluded.size, announced = excluded.announced"
                                            " WHERE expected.sha256 = excluded.sha256 OR expected.announced < ?"),
                             {file.name, QString::fromLatin1(file.sha256), file.size, daysAgo(0), daysAgo(1)})
        && m_transaction.changedRows() > 0;
}

std::optional<ExpectedFile> Items::expected(const QString& name)
{
    std::optional<ExpectedFile> result;
    m_transaction.run(QStringLiteral("SELECT sha256, size FROM expected WHERE name = ?"), {name},
                      [&result, &name](const QSqlQuery& row) {
                          result = ExpectedFile{name, row.value(0).toString().toLatin1(), row.value(1).toLongLong()};
                      });
    return result;
}

void Items::forgetExpected(const QString& name)
{
    m_transaction.run(QStringLiteral("DELETE FROM expected WHERE name = ?"), {name});
}

}
