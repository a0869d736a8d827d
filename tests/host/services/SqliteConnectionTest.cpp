#include "services/SqliteConnection.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QSqlQuery>
#include <QVariant>

using namespace Host;

namespace
{
bool run(SqliteConnection& connection, const char* statement)
{
    return QSqlQuery(connection.database()).exec(QLatin1String(statement));
}

/// The first value of the statement's first row.
QVariant ask(SqliteConnection& connection, const char* statement)
{
    QSqlQuery query(connection.database());
    return query.exec(QLatin1String(statement)) && query.next() ? query.value(0) : QVariant();
}
}

TEST_CASE("sqlite connection: what one has written the next one reads")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("cards.sqlite"));
    {
        SqliteConnection connection(path);
        REQUIRE(connection.isOpen());
        CHECK(run(connection, "CREATE TABLE cards (code INTEGER)"));
        CHECK(run(connection, "INSERT INTO cards VALUES (1001)"));
    }
    SqliteConnection connection(path);
    CHECK(ask(connection, "SELECT code FROM cards").toInt() == 1001);
}

TEST_CASE("sqlite connection: it is set to keep what was committed, to wait for other writers, and to hold on to references")
{
    const Folder folder;
    SqliteConnection connection(folder.path(QStringLiteral("cards.sqlite")));
    CHECK(ask(connection, "PRAGMA synchronous").toInt() == 2); // full
    CHECK(ask(connection, "PRAGMA busy_timeout").toInt() == 5000);
    CHECK(ask(connection, "PRAGMA foreign_keys").toInt() == 1);
    CHECK(run(connection, "CREATE TABLE cards (code INTEGER PRIMARY KEY)"));
    CHECK(run(connection, "CREATE TABLE items (card INTEGER REFERENCES cards (code) ON DELETE CASCADE)"));
    CHECK(run(connection, "INSERT INTO cards VALUES (7)"));
    CHECK(run(connection, "INSERT INTO items VALUES (7)"));
    CHECK_FALSE(run(connection, "INSERT INTO items VALUES (8)"));
    CHECK(run(connection, "DELETE FROM cards"));
    CHECK(ask(connection, "SELECT count(*) FROM items").toInt() == 0);
}

TEST_CASE("sqlite connection: several to one file do not disturb each other, and nothing of them stays")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("cards.sqlite"));
    const QStringList before = QSqlDatabase::connectionNames();
    {
        SqliteConnection one(path);
        REQUIRE(run(one, "CREATE TABLE cards (code INTEGER)"));
        {
            SqliteConnection two(path);
            CHECK(two.database().connectionName() != one.database().connectionName());
            CHECK(run(two, "INSERT INTO cards VALUES (1)"));
        }
        CHECK(run(one, "INSERT INTO cards VALUES (2)"));
        CHECK(ask(one, "SELECT count(*) FROM cards").toInt() == 2);
    }
    CHECK(QSqlDatabase::connectionNames() == before);
}

TEST_CASE("sqlite connection: a file that cannot be made is reported, and nothing of the attempt stays")
{
    const Folder folder;
    const QStringList before = QSqlDatabase::connectionNames();
    {
        const SqliteConnection connection(folder.path(QStringLiteral("none/cards.sqlite")));
        CHECK_FALSE(connection.isOpen());
        CHECK(connection.error().contains(QStringLiteral("unable to open database file")));
    }
    CHECK(QSqlDatabase::connectionNames() == before);
    CHECK_FALSE(QFileInfo::exists(folder.path(QStringLiteral("none"))));
}

TEST_CASE("sqlite connection: what SQLite says of a file that is no database leads to its remedy")
{
    const Folder folder;
    SqliteConnection connection(folder.write(QStringLiteral("cards.sqlite"), QByteArray(4096, 'x')));
    QSqlQuery query(connection.database());
    REQUIRE_FALSE(query.exec(QStringLiteral("PRAGMA user_version")));
    CHECK(sqliteRemedy(query.lastError()) == "move it away to begin a new one");
}
