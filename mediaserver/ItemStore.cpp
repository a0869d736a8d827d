#include "ItemStore.hpp"

#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <array>
#include <utility>

namespace MediaServer
{

namespace
{

constexpr int kTokenBytes = 16;
constexpr int kTokenCharacters = 22;

const std::vector<SchemaStatement> kSchema = {
    {1,
     "CREATE TABLE person ("
     " tessel INTEGER PRIMARY KEY,"
     " token TEXT NOT NULL UNIQUE,"
     " since TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%SZ', 'now')))"},
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
     " UNIQUE (tessel, kind, value))"},
    {2,
     "CREATE TABLE expected ("
     " name TEXT PRIMARY KEY,"
     " sha256 TEXT NOT NULL,"
     " size INTEGER NOT NULL,"
     " announced TEXT NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%SZ', 'now')))"},
};

QString kindText(ItemKind kind)
{
    return kind == ItemKind::Url ? QStringLiteral("url") : QStringLiteral("filename");
}

/// A null text is stored as an empty one: the columns do not allow NULL.
QVariant textValue(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QString newToken()
{
    std::array<quint32, kTokenBytes / sizeof(quint32)> bits;
    QRandomGenerator::system()->generate(bits.begin(), bits.end());
    const auto bytes = QByteArray(reinterpret_cast<const char*>(bits.data()), kTokenBytes);
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
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

} // namespace

bool isTokenForm(const QString& text)
{
    if (text.size() != kTokenCharacters)
        return false;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        const bool allowed = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '-' || u == '_';
        if (!allowed)
            return false;
    }
    return true;
}

Result<std::unique_ptr<ItemStore>> ItemStore::open(const QString& file, int lockWaitMs)
{
    auto database = Database::open(file, kSchema, lockWaitMs);
    if (!database)
        return tl::unexpected(database.error());
    return std::unique_ptr<ItemStore>(new ItemStore(std::move(*database)));
}

ItemStore::~ItemStore() = default;

Result<QString> ItemStore::tokenFor(qint64 tessel)
{
    const auto stored = [this, tessel] { return m_database->query("SELECT token FROM person WHERE tessel = ?", {tessel}); };
    auto known = stored();
    if (known && !known->next()) {
        known->finish();
        const auto made = m_database->query("INSERT INTO person (tessel, token) VALUES (?, ?) ON CONFLICT (tessel) DO NOTHING",
                                            {tessel, newToken()});
        if (!made)
            return tl::unexpected(made.error());
        known = stored();
        if (known && !known->next())
            return tl::unexpected(QStringLiteral("The person was not kept."));
    }
    if (!known)
        return tl::unexpected(known.error());
    return known->value(0).toString();
}

Result<std::optional<qint64>> ItemStore::personOf(const QString& token)
{
    auto found = m_database->query("SELECT tessel FROM person WHERE token = ?", {token});
    if (!found)
        return tl::unexpected(found.error());
    if (!found->next())
        return std::optional<qint64>();
    return std::optional<qint64>(found->value(0).toLongLong());
}

Result<void> ItemStore::add(qint64 tessel, const Item& item)
{
    if (const auto person = tokenFor(tessel); !person)
        return tl::unexpected(person.error());
    const auto added = m_database->query(
        "INSERT INTO item (tessel, kind, value, displayname, systemname) VALUES (?, ?, ?, ?, ?)"
        " ON CONFLICT (tessel, kind, value) DO UPDATE"
        " SET displayname = excluded.displayname, systemname = excluded.systemname",
        {tessel, kindText(item.kind), textValue(item.value), textValue(item.displayName), textValue(item.systemName)});
    if (!added)
        return tl::unexpected(added.error());
    return {};
}

Result<bool> ItemStore::hasRoom(qint64 tessel, const Item& item, int most)
{
    auto row = m_database->query("SELECT (SELECT count(*) FROM item WHERE tessel = ?) < ?"
                                 " OR EXISTS (SELECT 1 FROM item WHERE tessel = ? AND kind = ? AND value = ?)",
                                 {tessel, most, tessel, kindText(item.kind), textValue(item.value)});
    if (!row)
        return tl::unexpected(row.error());
    return row->next() && row->value(0).toBool();
}

Result<bool> ItemStore::remove(qint64 tessel, ItemKind kind, const QString& value)
{
    const auto removed = m_database->query("DELETE FROM item WHERE tessel = ? AND kind = ? AND value = ?",
                                           {tessel, kindText(kind), textValue(value)});
    if (!removed)
        return tl::unexpected(removed.error());
    return removed->numRowsAffected() > 0;
}

Result<std::vector<Item>> ItemStore::items(qint64 tessel)
{
    auto rows =
        m_database->query("SELECT id, kind, value, displayname, systemname FROM item WHERE tessel = ? ORDER BY id", {tessel});
    if (!rows)
        return tl::unexpected(rows.error());
    std::vector<Item> result;
    while (rows->next())
        result.push_back(readItem(*rows));
    if (rows->lastError().isValid())
        return tl::unexpected(Database::reasonAndRemedy(rows->lastError()));
    return result;
}

Result<void> ItemStore::done(const Result<QSqlQuery>& statement)
{
    return statement ? Result<void>() : tl::unexpected(statement.error());
}

Result<void> ItemStore::remove(qint64 tessel, qint64 id)
{
    return done(m_database->query("DELETE FROM item WHERE tessel = ? AND id = ?", {tessel, id}));
}

Result<void> ItemStore::removeAll(qint64 tessel)
{
    return done(m_database->query("DELETE FROM item WHERE tessel = ?", {tessel}));
}

Result<QString> ItemStore::renewToken(qint64 tessel)
{
    const QString token = newToken();
    if (const auto changed = m_database->query("UPDATE person SET token = ? WHERE tessel = ?", {token, tessel}); !changed)
        return tl::unexpected(changed.error());
    return token;
}

Result<QDate> ItemStore::lastAddition(qint64 tessel)
{
    auto row = m_database->query("SELECT max(since, coalesce((SELECT max(added) FROM item WHERE tessel = ?), ''))"
                                 " FROM person WHERE tessel = ?",
                                 {tessel, tessel});
    if (!row)
        return tl::unexpected(row.error());
    return QDate::fromString(row->next() ? row->value(0).toString().left(10) : QString(), Qt::ISODate);
}

Result<int> ItemStore::removeOlderThan(int days)
{
    const QString age = QStringLiteral("-%1 days").arg(days);
    const auto removed = m_database->query("DELETE FROM person WHERE since < strftime('%Y-%m-%dT%H:%M:%SZ', 'now', ?)"
                                           " AND NOT EXISTS (SELECT 1 FROM item WHERE item.tessel = person.tessel"
                                           " AND added >= strftime('%Y-%m-%dT%H:%M:%SZ', 'now', ?))",
                                           {age, age});
    if (!removed)
        return tl::unexpected(removed.error());
    return removed->numRowsAffected();
}

Result<bool> ItemStore::expect(const ExpectedFile& file)
{
    const auto kept = m_database->query("INSERT INTO expected (name, sha256, size) VALUES (?, ?, ?)"
                                        " ON CONFLICT (name) DO UPDATE"
                                        " SET sha256 = excluded.sha256, size = excluded.size, announced = excluded.announced"
                                        " WHERE sha256 = excluded.sha256"
                                        " OR announced < strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-1 day')",
                                        {file.name, QString::fromLatin1(file.sha256), file.size});
    if (!kept)
        return tl::unexpected(kept.error());
    return kept->numRowsAffected() > 0;
}

Result<std::optional<ExpectedFile>> ItemStore::expected(const QString& name)
{
    auto row = m_database->query("SELECT sha256, size FROM expected WHERE name = ?", {name});
    if (!row)
        return tl::unexpected(row.error());
    if (!row->next())
        return std::optional<ExpectedFile>();
    return std::optional<ExpectedFile>({name, row->value(0).toString().toLatin1(), row->value(1).toLongLong()});
}

Result<void> ItemStore::forgetExpected(const QString& name)
{
    const auto known = expected(name);
    if (!known || !*known) // most often: nothing to write
        return known ? Result<void>() : tl::unexpected(known.error());
    const auto removed = m_database->query("DELETE FROM expected WHERE name = ?", {name});
    return removed ? Result<void>() : tl::unexpected(removed.error());
}

Result<std::optional<Item>> ItemStore::item(qint64 tessel, qint64 id)
{
    auto row =
        m_database->query("SELECT id, kind, value, displayname, systemname FROM item WHERE tessel = ? AND id = ?", {tessel, id});
    if (!row)
        return tl::unexpected(row.error());
    if (!row->next())
        return std::optional<Item>();
    return std::optional<Item>(readItem(*row));
}

} // namespace MediaServer
