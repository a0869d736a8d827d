#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>

namespace Host
{
/// What an operator can do about an error of a SQLite file; see Bedrock/SqliteRemedy.hpp.
[[nodiscard]] QString sqliteRemedy(const QSqlError& error);

/// A connection to a SQLite file for the lifetime of this object, used on the thread that made it. Every commit is on the disk
/// when it returns; a writer waits up to five seconds for another one, at the start of a program as well.
class SqliteConnection
{
public:
    explicit SqliteConnection(const QString& path);
    ~SqliteConnection();
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    [[nodiscard]] bool isOpen() const noexcept { return m_isOpen; }
    [[nodiscard]] QSqlDatabase& database() noexcept { return m_database; }
    [[nodiscard]] QString error() const;
    [[nodiscard]] QString remedy() const { return sqliteRemedy(m_database.lastError()); }

    /// Changes the file to a write-ahead log, which stays. Waits for another program's lock like any statement. False, with the
    /// reason as the query's last error.
    [[nodiscard]] static bool keepWriteAheadLog(QSqlQuery& query);
    /// Whether another connection held a lock for too long.
    [[nodiscard]] static bool isBusy(const QSqlError& error);
    /// For tests: how long connections made from now on wait for a lock. Returns the time before. Any thread.
    static int setLockWaitMs(int milliseconds);

private:
    QString m_name;
    QSqlDatabase m_database;
    bool m_isOpen = false;
};
}
