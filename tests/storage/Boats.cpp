#include "Boats.hpp"

#include <doctest/doctest.h>

#include <QSqlQuery>
#include <QStringList>

using namespace Storage;

Schema boats()
{
    return {QStringLiteral("boats"),
            QStringLiteral("the list of boats"),
            {{1, "CREATE TABLE boat (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE, length INTEGER NOT NULL)",
              "CREATE TABLE boat (id BIGINT GENERATED ALWAYS AS IDENTITY PRIMARY KEY, name TEXT NOT NULL UNIQUE, length INTEGER "
              "NOT NULL)"}}};
}

bool addBoat(Transaction& transaction, const QString& boat, int length)
{
    return transaction.run(QStringLiteral("INSERT INTO boat (name, length) VALUES (?, ?)"), {boat, length});
}

QString allBoats(Store& store)
{
    QStringList names;
    const auto outcome = store.run(Store::Kind::Read, [&names](Transaction& transaction) {
        names.clear();
        return transaction.run(QStringLiteral("SELECT name FROM boat ORDER BY id"), {},
                               [&names](const QSqlQuery& row) { names << row.value(0).toString(); });
    });
    REQUIRE_MESSAGE(outcome, outcome.error().text().toStdString());
    return names.join(QLatin1Char(' '));
}
