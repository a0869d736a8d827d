#include "SqliteConnection.hpp"

#include <QSqlError>
#include <QSqlQuery>

#include <atomic>

SqliteConnection::SqliteConnection(const QString& path)
{
    static std::atomic<int> counter{0};
    m_name = QStringLiteral("sqlite-%1").arg(++counter);
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    m_database.setDatabaseName(path);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    if (!m_database.open())
        return;
    QSqlQuery pragma(m_database);
    m_isOpen = pragma.exec(QStringLiteral("PRAGMA synchronous=FULL")) && pragma.exec(QStringLiteral("PRAGMA foreign_keys=ON"));
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
