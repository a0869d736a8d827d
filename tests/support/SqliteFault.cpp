#include "SqliteFault.hpp"

#include <doctest/doctest.h>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <utility>

namespace TestSupport
{
SqliteFault SqliteFault::fullDisk(const QString& path, const QString& event, const QString& table)
{
    const QString name = QStringLiteral("full_%1_%2").arg(event, table);
    return {path,
            QStringLiteral("CREATE TRIGGER %1 BEFORE %2 ON %3 BEGIN SELECT RAISE(FAIL, 'database or disk is full'); END")
                .arg(name, event, table),
            QStringLiteral("DROP TRIGGER %1").arg(name)};
}

SqliteFault SqliteFault::lostTable(const QString& path, const QString& table)
{
    const QString rename = QStringLiteral("ALTER TABLE %1 RENAME TO %2");
    const QString away = table + QStringLiteral("_away");
    return {path, rename.arg(table, away), rename.arg(away, table)};
}

SqliteFault::SqliteFault(const QString& path, const QString& fault, const QString& remedy) : m_path(path), m_remedy(remedy)
{
    run(path, fault);
}

SqliteFault::~SqliteFault()
{
    mend();
}

void SqliteFault::mend()
{
    const QString remedy = std::exchange(m_remedy, QString());
    if (!remedy.isEmpty())
        run(m_path, remedy);
}

void SqliteFault::run(const QString& path, const QString& statement)
{
    const QString name = QStringLiteral("sqlite-fault");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(path);
        database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=20000"));
        CHECK(database.open());
        QSqlQuery query(database);
        const bool isDone = query.exec(statement);
        INFO(query.lastError().text().toStdString());
        CHECK(isDone);
    }
    QSqlDatabase::removeDatabase(name);
}
}
