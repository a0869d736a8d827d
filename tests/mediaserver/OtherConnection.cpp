#include "OtherConnection.hpp"

#include <doctest/doctest.h>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

QVariant executeBeside(const QString& file, const QString& statement)
{
    QVariant result;
    const QString name = QStringLiteral("beside");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(file);
        REQUIRE(database.open());
        QSqlQuery query(database);
        REQUIRE_MESSAGE(query.exec(statement), query.lastError().text().toStdString());
        if (query.next())
            result = query.value(0);
    }
    QSqlDatabase::removeDatabase(name);
    return result;
}
