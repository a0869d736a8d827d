#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QString>

namespace Host
{
/// A connection to a SQLite file for the lifetime of this object, used on the thread that made it. Every commit is on the disk
/// when it returns; a writer waits up to five seconds for another one.
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

private:
    QString m_name;
    QSqlDatabase m_database;
    bool m_isOpen = false;
};

/// What an operator can do about an error of a SQLite file: a part of a sentence. Only a file that is damaged, or is no database
/// at all, is advised to be moved away; one that is locked, read-only or on a full disk holds what it held.
[[nodiscard]] QString sqliteRemedy(const QSqlError& error);
}
