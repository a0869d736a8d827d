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
///     return writing && writing.run(QStringLiteral("DELETE FROM people WHERE code = ?"), {code}) && writing.commit();
///
/// The first failure is reported, in SQLite's words; every call after it fails without a report.
class SqliteTransaction
{
public:
    enum class Kind {
        Read, ///< reads one state of the file
        Write ///< locks other writers out from its beginning, so what it has read stays true
    };
    /// Called with the reason, at most once for each transaction.
    using Report = std::function<void(const QString& reason)>;

    SqliteTransaction(const QString& path, Kind kind, Report report);
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    /// True from the beginning on, until a call fails.
    explicit operator bool() const noexcept { return m_isOpen && !m_hasFailed; }
    /// Runs a statement with `values` for its "?". A null QString is stored as the empty text.
    [[nodiscard]] bool run(const QString& statement, std::initializer_list<QVariant> values = {});
    /// Calls the function for every row of the last statement. False when not all could be read.
    [[nodiscard]] bool forEachRow(const std::function<void(const QSqlQuery& row)>& handle);
    /// How many rows the last statement changed.
    [[nodiscard]] int changedRows() const { return m_query.numRowsAffected(); }
    /// The number of the row that the last statement inserted.
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
