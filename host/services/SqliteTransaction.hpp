#pragma once

#include "SqliteConnection.hpp"

#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <functional>
#include <initializer_list>

namespace Host
{
/// One transaction on a SQLite file, with a connection of its own; rolled back at the end of its scope unless it was committed.
/// Used on the thread that made it.
///
///     SqliteTransaction writing(path, SqliteTransaction::Kind::Write, warn);
///     writing.run("DELETE FROM people WHERE code = ?", {code});
///     return writing.commit();
///
/// The first failure is reported, in SQLite's words; every call after it does nothing and fails without a report. So a caller
/// need only check the last one.
class SqliteTransaction
{
public:
    enum class Kind {
        Read, ///< reads one state of the file
        Write ///< locks other writers out from its beginning, so what it has read stays true
    };
    /// Called with the reason and what to do about it, at most once for each transaction.
    using Report = std::function<void(const QString& reason, const QString& remedy)>;
    using RowHandler = std::function<void(const QSqlQuery& row)>;

    SqliteTransaction(const QString& path, Kind kind, Report report);
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    /// True from the beginning on, until a call fails.
    explicit operator bool() const noexcept { return m_isOpen && !m_hasFailed; }
    /// Runs a statement with `values` for its "?", and calls `eachRow` for every row that it gives. A null QString is stored as
    /// the empty text. False when it fails, or when not all rows could be read.
    bool run(const QString& statement, std::initializer_list<QVariant> values = {}, const RowHandler& eachRow = {});
    /// How many rows the last statement changed; for one that has not failed.
    [[nodiscard]] int changedRows() const { return m_query.numRowsAffected(); }
    /// The number of the row that the last statement inserted; for one that has not failed.
    [[nodiscard]] qint64 insertedId() const { return m_query.lastInsertId().toLongLong(); }
    /// What an operator can do about the failure, if there was one.
    [[nodiscard]] const QString& remedy() const noexcept { return m_remedy; }
    /// Everything is on the disk when this returns true.
    [[nodiscard]] bool commit();

private:
    bool fail(const QSqlError& error);

    const Report m_report;
    SqliteConnection m_connection;
    QSqlQuery m_query;
    QString m_remedy;
    bool m_isOpen = false;
    bool m_hasFailed = false;
};
}
