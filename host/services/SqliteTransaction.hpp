#pragma once

#include "SqliteConnection.hpp"

#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <functional>
#include <initializer_list>

namespace Host
{
/// One transaction on a SQLite file, with a connection of its own; undone at the end of its scope unless it was committed.
/// Of the thread that made it.
///
///     SqliteTransaction writing(path, SqliteTransaction::Kind::Write, warn);
///     return writing && writing.run(QStringLiteral("DELETE FROM people WHERE code = ?"), {code}) && writing.commit();
///
/// Whatever fails is reported once, where it fails, in SQLite's words; what comes after a failure fails as well, silently.
class SqliteTransaction
{
public:
    enum class Kind {
        Read, ///< sees one moment of the file
        Write ///< is the only writer from its beginning on, so that what it reads first stays true
    };
    /// Called with the reason, at most once for each transaction.
    using Report = std::function<void(const QString& reason)>;

    SqliteTransaction(const QString& path, Kind kind, Report report);
    ~SqliteTransaction();
    SqliteTransaction(const SqliteTransaction&) = delete;
    SqliteTransaction& operator=(const SqliteTransaction&) = delete;

    /// Whether it has begun, and nothing has failed.
    explicit operator bool() const noexcept { return m_isOpen && !m_hasFailed; }
    /// Runs a statement; its "?" are replaced with the values. An absent (null) text is the empty one.
    [[nodiscard]] bool run(const QString& statement, std::initializer_list<QVariant> values = {});
    /// Hands every row of the last statement over. False when they could not all be read.
    [[nodiscard]] bool forEachRow(const std::function<void(const QSqlQuery& row)>& handle);
    /// How many rows the last statement changed.
    [[nodiscard]] int changedRows() const { return m_query.numRowsAffected(); }
    /// The number of the row that the last statement inserted.
    [[nodiscard]] qint64 insertedId() const { return m_query.lastInsertId().toLongLong(); }
    /// What was done is on the disk when this has returned true.
    [[nodiscard]] bool commit();

private:
    bool fail(const QString& reason);

    const Report m_report;
    SqliteConnection m_connection;
    QSqlQuery m_query;
    bool m_isOpen = false;
    bool m_hasFailed = false;
};
}
