#include "SqliteConnection.hpp"

#include <QSqlError>
#include <QSqlQuery>

#include <atomic>

namespace Host
{
SqliteConnection::SqliteConnection(const QString& path)
{
    static std::atomic<int> counter{0};
    m_name = QStringLiteral("sqlite-%1").arg(++counter);
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    m_database.setDatabaseName(path);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
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

QString SqliteConnection::error() const
{
    return m_database.lastError().text();
}

QString sqliteRemedy(const QSqlError& error)
{
    // Extended codes have the primary one in their low byte (SQLite, Result and Error Codes).
    switch (error.nativeErrorCode().toInt() & 0xFF) {
    case 5: // SQLITE_BUSY
    case 6: // SQLITE_LOCKED
        return QStringLiteral("another program keeps it locked: end that one, and start again");
    case 3:  // SQLITE_PERM
    case 8:  // SQLITE_READONLY
    case 14: // SQLITE_CANTOPEN
    case 23: // SQLITE_AUTH
        return QStringLiteral("let this user write the file and its folder, and mount the disk for writing");
    case 10: // SQLITE_IOERR
    case 13: // SQLITE_FULL
        return QStringLiteral("make room on the disk, or check it; nothing in the file is lost");
    case 11: // SQLITE_CORRUPT
    case 26: // SQLITE_NOTADB
        return QStringLiteral("move it away to begin a new one");
    default: return QStringLiteral("check the file and the disk; it was not changed");
    }
}
}
