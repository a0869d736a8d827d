#pragma once

#include "Result.hpp"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

#include <initializer_list>
#include <memory>
#include <vector>

class QSqlError;
class QVariant;

namespace MediaServer
{

/// A statement that makes part of a database; `since`: the format that has it first.
struct SchemaStatement
{
    int since;
    const char* text;
};

/// A connection to an SQLite file for the lifetime of this object, on the thread that opened it. Every statement outside of a
/// transaction is on the disk when it returns (write-ahead log, synchronous FULL). Errors name the reason and the remedy.
class Database
{
public:
    /// Makes the file when needed, and brings it to the newest format of `schema`, whose statements are in the order of their
    /// formats. Refuses a file that is no database or of a newer format. A lock of another program is waited for, here and
    /// later, up to `lockWaitMs`.
    [[nodiscard]] static Result<std::unique_ptr<Database>> open(const QString& file, const std::vector<SchemaStatement>& schema,
                                                                int lockWaitMs);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Runs one statement with `values` for its "?".
    [[nodiscard]] Result<QSqlQuery> query(const char* statement, std::initializer_list<QVariant> values);
    [[nodiscard]] Result<void> execute(const char* statement);
    /// The error of a statement whose rows could not be read to the end.
    [[nodiscard]] static QString reasonAndRemedy(const QSqlError& error);

private:
    explicit Database(const QString& connectionName);
    [[nodiscard]] Result<void> prepareFile(const std::vector<SchemaStatement>& schema);
    [[nodiscard]] Result<void> keepWriteAheadLog();
    [[nodiscard]] Result<void> bringUpToDate(const std::vector<SchemaStatement>& schema);

    QString m_connectionName;
    QSqlDatabase m_database;
    int m_failureCode = 0; ///< SQLite's, of the last statement that failed
};

} // namespace MediaServer
