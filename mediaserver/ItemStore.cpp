#include "ItemStore.hpp"

#include <Bedrock/SqliteRemedy.hpp>

#include <QRandomGenerator>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

#include <array>

namespace MediaServer
{

namespace
{

/// How often another connection may get hold of the file between the wait for its lock and the change of mode.
constexpr int kMostModeAttempts = 5;
constexpr int kTokenBytes = 16;
constexpr int kTokenCharacters = 22;

/// Statement after statement; `since`: the format that has it first.
struct Statement
{
    int since;
    const char* text;
};
constexpr int kSchemaVersion = 2;

const Statement kSchema[] = {
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

QString reasonAndRemedy(const QSqlError& error)
{
    return error.text().simplified() + QStringLiteral("; ") + Bedrock::sqliteRemedy(error.nativeErrorCode().toInt());
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
    auto store = std::unique_ptr<ItemStore>(new ItemStore(QUuid::createUuid().toString()));
    store->m_database.setDatabaseName(file);
    store->m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(lockWaitMs));
    const auto refused = [&file](const QString& reason) {
        return tl::unexpected(QStringLiteral("The database \"%1\" cannot be used: %2").arg(file, reason));
    };
    if (!store->m_database.open())
        return refused(reasonAndRemedy(store->m_database.lastError()));
    if (const auto prepared = store->prepareFile(); !prepared)
        return refused(prepared.error());
    return store;
}

ItemStore::ItemStore(const QString& connectionName)
    : m_connectionName(connectionName), m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName))
{
}

ItemStore::~ItemStore()
{
    // The connection may be removed only when no handle refers to it any more.
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connectionName);
}

Result<void> ItemStore::prepareFile()
{
    if (const auto kept = keepWriteAheadLog(); !kept)
        return kept;
    for (const char* pragma : {"PRAGMA synchronous = FULL", "PRAGMA foreign_keys = ON"}) {
        if (const auto done = execute(pragma); !done)
            return done;
    }
    // IMMEDIATE: of two servers that start on one new file, one waits until the other has made the tables.
    if (const auto begun = execute("BEGIN IMMEDIATE"); !begun)
        return begun;
    const auto giveUp = [this](const QString& reason) {
        (void)execute("ROLLBACK");
        return tl::unexpected(reason);
    };

    auto version = query("PRAGMA user_version", {});
    if (!version)
        return giveUp(version.error());
    const int found = version->next() ? version->value(0).toInt() : 0;
    version->finish();
    if (found > kSchemaVersion) {
        return giveUp(QStringLiteral("it was written by a newer version of this program (format %1, known is %2); use that one")
                          .arg(found)
                          .arg(kSchemaVersion));
    }
    if (const auto done = bringUpToDate(found); !done)
        return giveUp(done.error());
    if (const auto done = execute("COMMIT"); !done)
        return giveUp(done.error());
    return {};
}

Result<void> ItemStore::bringUpToDate(int format)
{
    for (const Statement& statement : kSchema) {
        if (statement.since <= format)
            continue;
        if (const auto made = execute(statement.text); !made)
            return made;
    }
    const QByteArray setVersion = "PRAGMA user_version = " + QByteArray::number(kSchemaVersion);
    return format == kSchemaVersion ? Result<void>() : execute(setVersion.constData());
}

/// SQLite waits for a lock when a transaction begins, not when the mode is changed.
Result<void> ItemStore::keepWriteAheadLog()
{
    for (int attempt = 1;; ++attempt) {
        const auto changed = execute("PRAGMA journal_mode = WAL");
        constexpr int kBusy = 5;
        if (changed || (m_failureCode & 0xFF) != kBusy || attempt == kMostModeAttempts)
            return changed;
        if (const auto free = execute("BEGIN IMMEDIATE"); !free)
            return free;
        (void)execute("COMMIT");
    }
}

Result<void> ItemStore::execute(const char* statement)
{
    if (const auto done = query(statement, {}); !done)
        return tl::unexpected(done.error());
    return {};
}

Result<QSqlQuery> ItemStore::query(const char* statement, std::initializer_list<QVariant> values)
{
    QSqlQuery result(m_database);
    result.setForwardOnly(true);
    bool good = result.prepare(QLatin1String(statement));
    for (const QVariant& value : values)
        result.addBindValue(value);
    good = good && result.exec();
    if (!good) {
        m_failureCode = result.lastError().nativeErrorCode().toInt();
        return tl::unexpected(reasonAndRemedy(result.lastError()));
    }
    return result;
}

Result<QString> ItemStore::tokenFor(qint64 tessel)
{
    const auto stored = [this, tessel] { return query("SELECT token FROM person WHERE tessel = ?", {tessel}); };
    auto known = stored();
    if (known && !known->next()) {
        known->finish();
        const auto made =
            query("INSERT INTO person (tessel, token) VALUES (?, ?) ON CONFLICT (tessel) DO NOTHING", {tessel, newToken()});
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
    auto found = query("SELECT tessel FROM person WHERE token = ?", {token});
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
    const auto added =
        query("INSERT INTO item (tessel, kind, value, displayname, systemname) VALUES (?, ?, ?, ?, ?)"
              " ON CONFLICT (tessel, kind, value) DO UPDATE"
              " SET displayname = excluded.displayname, systemname = excluded.systemname",
              {tessel, kindText(item.kind), textValue(item.value), textValue(item.displayName), textValue(item.systemName)});
    if (!added)
        return tl::unexpected(added.error());
    return {};
}

Result<bool> ItemStore::hasRoom(qint64 tessel, const Item& item, int most)
{
    auto row = query("SELECT (SELECT count(*) FROM item WHERE tessel = ?) < ?"
                     " OR EXISTS (SELECT 1 FROM item WHERE tessel = ? AND kind = ? AND value = ?)",
                     {tessel, most, tessel, kindText(item.kind), textValue(item.value)});
    if (!row)
        return tl::unexpected(row.error());
    return row->next() && row->value(0).toBool();
}

Result<bool> ItemStore::remove(qint64 tessel, ItemKind kind, const QString& value)
{
    const auto removed =
        query("DELETE FROM item WHERE tessel = ? AND kind = ? AND value = ?", {tessel, kindText(kind), textValue(value)});
    if (!removed)
        return tl::unexpected(removed.error());
    return removed->numRowsAffected() > 0;
}

Result<std::vector<Item>> ItemStore::items(qint64 tessel)
{
    auto rows = query("SELECT id, kind, value, displayname, systemname FROM item WHERE tessel = ? ORDER BY id", {tessel});
    if (!rows)
        return tl::unexpected(rows.error());
    std::vector<Item> result;
    while (rows->next())
        result.push_back(readItem(*rows));
    if (rows->lastError().isValid())
        return tl::unexpected(reasonAndRemedy(rows->lastError()));
    return result;
}

Result<bool> ItemStore::expect(const ExpectedFile& file)
{
    const auto kept = query("INSERT INTO expected (name, sha256, size) VALUES (?, ?, ?)"
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
    auto row = query("SELECT sha256, size FROM expected WHERE name = ?", {name});
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
    const auto removed = query("DELETE FROM expected WHERE name = ?", {name});
    return removed ? Result<void>() : tl::unexpected(removed.error());
}

Result<std::optional<Item>> ItemStore::item(qint64 tessel, qint64 id)
{
    auto row = query("SELECT id, kind, value, displayname, systemname FROM item WHERE tessel = ? AND id = ?", {tessel, id});
    if (!row)
        return tl::unexpected(row.error());
    if (!row->next())
        return std::optional<Item>();
    return std::optional<Item>(readItem(*row));
}

} // namespace MediaServer
