#include "SqliteConnection.hpp"

#include <Bedrock/SqliteRemedy.hpp>

#include <QSqlError>
#include <QSqlQuery>

#include <atomic>

namespace Host
{
namespace
{
constexpr int kLockWaitMs = 5000;
/// How often another connection may get hold of the file between the wait for its lock and the change of mode.
constexpr int kMostModeAttempts = 5;

std::atomic<int>& lockWait()
{
    static std::atomic<int> milliseconds{kLockWaitMs};
    return milliseconds;
}
}

SqliteConnection::SqliteConnection(const QString& path)
{
    static std::atomic<int> counter{0};
    m_name = QStringLiteral("sqlite-%1").arg(++counter);
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    m_database.setDatabaseName(path);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(lockWait().load()));
    m_isOpen = m_database.open();
    if (!m_isOpen)
        return;
    // For a file that is no database the first statement that reads it fails with a better message than these would.
    QSqlQuery pragma(m_database);
    pragma.exec(QStringLiteral("PRAGMA synchronous=FULL"));
    pragma.exec(QStringLiteral("PRAGMA foreign_keys=ON"));
}

SqliteConnection::~SqliteConnection()
{
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_name);
}

int SqliteConnection::setLockWaitMs(int milliseconds)
{
    return lockWait().exchange(milliseconds);
}

bool SqliteConnection::keepWriteAheadLog(QSqlQuery& query)
{
    for (int attempt = 1;; ++attempt) {
        if (query.exec(QStringLiteral("PRAGMA journal_mode=WAL")))
            return true;
        // SQLite waits for a lock when a transaction begins, not when the mode is changed.
        if (!isBusy(query.lastError()) || attempt == kMostModeAttempts || !query.exec(QStringLiteral("BEGIN IMMEDIATE")))
            return false;
        query.exec(QStringLiteral("COMMIT"));
    }
}

bool SqliteConnection::isBusy(const QSqlError& error)
{
    return (error.nativeErrorCode().toInt() & 0xFF) == 5; // SQLITE_BUSY
}

QString SqliteConnection::error() const
{
    return m_database.lastError().text();
}

QString sqliteRemedy(const QSqlError& error)
{
    return Bedrock::sqliteRemedy(error.nativeErrorCode().toInt());
}
}
