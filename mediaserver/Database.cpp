#include "Database.hpp"

#include <Bedrock/SqliteRemedy.hpp>

#include <QSqlError>
#include <QUuid>
#include <QVariant>

namespace MediaServer
{

namespace
{

/// How often another connection may get hold of the file between the wait for its lock and the change of mode.
constexpr int kMostModeAttempts = 5;

} // namespace

QString Database::reasonAndRemedy(const QSqlError& error)
{
    return error.text().simplified() + QStringLiteral("; ") + Bedrock::sqliteRemedy(error.nativeErrorCode().toInt());
}

Result<std::unique_ptr<Database>> Database::open(const QString& file, const std::vector<SchemaStatement>& schema, int lockWaitMs)
{
    auto opened = std::unique_ptr<Database>(new Database(QUuid::createUuid().toString()));
    opened->m_database.setDatabaseName(file);
    opened->m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(lockWaitMs));
    const auto refused = [&file](const QString& reason) {
        return tl::unexpected(QStringLiteral("The database \"%1\" cannot be used: %2").arg(file, reason));
    };
    if (const auto none = Bedrock::whyNoDatabase(file))
        return refused(none->reason + QStringLiteral("; ") + none->remedy);
    if (!opened->m_database.open())
        return refused(reasonAndRemedy(opened->m_database.lastError()));
    if (const auto prepared = opened->prepareFile(schema); !prepared)
        return refused(prepared.error());
    return opened;
}

Database::Database(const QString& connectionName)
    : m_connectionName(connectionName), m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName))
{
}

Database::~Database()
{
    // The connection may be removed only when no handle refers to it any more.
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connectionName);
}

Result<void> Database::prepareFile(const std::vector<SchemaStatement>& schema)
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
    auto done = bringUpToDate(schema);
    if (done)
        done = execute("COMMIT");
    if (!done)
        (void)execute("ROLLBACK");
    return done;
}

Result<void> Database::bringUpToDate(const std::vector<SchemaStatement>& schema)
{
    auto version = query("PRAGMA user_version", {});
    if (!version)
        return tl::unexpected(version.error());
    const int found = version->next() ? version->value(0).toInt() : 0;
    version->finish();
    const int newest = schema.back().since;
    if (found > newest) {
        return tl::unexpected(
            QStringLiteral("it was written by a newer version of this program (format %1, known is %2); use that one")
                .arg(found)
                .arg(newest));
    }
    for (const SchemaStatement& statement : schema) {
        if (statement.since <= found)
            continue;
        if (const auto made = execute(statement.text); !made)
            return made;
    }
    const QByteArray setVersion = "PRAGMA user_version = " + QByteArray::number(newest);
    return found == newest ? Result<void>() : execute(setVersion.constData());
}

/// SQLite waits for a lock when a transaction begins, not when the mode is changed.
Result<void> Database::keepWriteAheadLog()
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

Result<void> Database::execute(const char* statement)
{
    if (const auto done = query(statement, {}); !done)
        return tl::unexpected(done.error());
    return {};
}

Result<QSqlQuery> Database::query(const char* statement, std::initializer_list<QVariant> values)
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

} // namespace MediaServer
