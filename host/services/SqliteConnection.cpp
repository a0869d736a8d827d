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
}
