#include "Database.hpp"

#include "Folder.hpp"
#include "OtherConnection.hpp"

#include <doctest/doctest.h>

using namespace MediaServer;

namespace
{

const std::vector<SchemaStatement> kFirst = {{1, "CREATE TABLE boat (name TEXT)"}};
const std::vector<SchemaStatement> kSecond = {
    {1, "CREATE TABLE boat (name TEXT)"}, {2, "ALTER TABLE boat ADD COLUMN length INTEGER"}, {2, "UPDATE boat SET length = 7"}};

} // namespace

TEST_CASE("database: a file of an older format gets what it lacks, once, and keeps what it has")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("boats.sqlite"));
    {
        const auto database = Database::open(file, kFirst, 1000);
        REQUIRE(database);
        REQUIRE((*database)->query("INSERT INTO boat (name) VALUES (?)", {QStringLiteral("Ahti")}));
    }
    for (int i = 0; i < 2; ++i) {
        const auto database = Database::open(file, kSecond, 1000);
        REQUIRE(database);
        auto row = (*database)->query("SELECT name, length FROM boat", {});
        REQUIRE(row->next());
        CHECK(row->value(0).toString() == QLatin1String("Ahti"));
        CHECK(row->value(1).toInt() == 7);
    }
    CHECK(executeBeside(file, QStringLiteral("PRAGMA user_version")).toInt() == 2);
    CHECK(Database::open(file, kFirst, 1000).error().contains(QLatin1String("(format 2, known is 1); use that one")));
}

TEST_CASE("database: a change of format that fails changes nothing")
{
    const Folder folder;
    const QString file = folder.path(QStringLiteral("boats.sqlite"));
    REQUIRE(Database::open(file, kFirst, 1000));
    const std::vector<SchemaStatement> broken = {
        {1, "CREATE TABLE boat (name TEXT)"}, {2, "CREATE TABLE pier (name TEXT)"}, {2, "CREATE TABLE pier (name TEXT)"}};
    CHECK_FALSE(Database::open(file, broken, 1000));
    CHECK(executeBeside(file, QStringLiteral("PRAGMA user_version")).toInt() == 1);
    CHECK(executeBeside(file, QStringLiteral("SELECT count(*) FROM sqlite_master WHERE name = 'pier'")).toInt() == 0);
}

TEST_CASE("database: a statement that fails says why and what to do")
{
    const Folder folder;
    const auto database = Database::open(folder.path(QStringLiteral("boats.sqlite")), kFirst, 1000);
    REQUIRE(database);
    const auto failed = (*database)->query("SELECT * FROM pier", {});
    REQUIRE_FALSE(failed);
    CHECK(failed.error().contains(QLatin1String("no such table: pier")));
    CHECK(failed.error().contains(QLatin1String("; ")));
}

TEST_CASE("database: a folder in place of the file is refused with its reason")
{
    const Folder folder;
    const auto refused = Database::open(folder.path(), kFirst, 1000);
    REQUIRE_FALSE(refused);
    CHECK(
        refused.error()
        == QStringLiteral("The database \"%1\" cannot be used: it is a folder; only an ordinary file can be a database: give it "
                          "another place")
               .arg(folder.path()));
}
