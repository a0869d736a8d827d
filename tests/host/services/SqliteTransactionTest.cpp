#include "services/SqliteTransaction.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QStringList>

#include <optional>
#include <thread>
#include <utility>

using namespace Host;

namespace
{
using Kind = SqliteTransaction::Kind;

/// A file with a table of cards.
struct SqliteTransactionBench
{
    Folder folder;
    QString path = folder.path("cards.sqlite");
    QStringList reasons;
    const SqliteTransaction::Report report = [this](const QString& reason, const QString&) { reasons << reason; };

    SqliteTransactionBench()
    {
        SqliteTransaction writing(path, Kind::Write, report);
        REQUIRE(writing.run("CREATE TABLE cards (code INTEGER PRIMARY KEY, name TEXT NOT NULL)"));
        REQUIRE(writing.commit());
    }
    [[nodiscard]] QStringList names()
    {
        QStringList result;
        SqliteTransaction reading(path, Kind::Read, report);
        CHECK(reading.run("SELECT name FROM cards ORDER BY code", {},
                          [&result](const QSqlQuery& row) { result << row.value(0).toString(); }));
        return result;
    }
};

const QString kInsert = QStringLiteral("INSERT INTO cards VALUES (?, ?)");
}

TEST_CASE("sqlite transaction: what is committed is there for the next one")
{
    SqliteTransactionBench bench;
    {
        SqliteTransaction writing(bench.path, Kind::Write, bench.report);
        REQUIRE(writing);
        CHECK(writing.run(kInsert, {1, "Ann"}));
        CHECK(writing.insertedId() == 1);
        CHECK(writing.run(kInsert, {2, "Bob"}));
        CHECK(writing.run("UPDATE cards SET name = name || '!'"));
        CHECK(writing.changedRows() == 2);
        CHECK(writing.commit());
    }
    CHECK(bench.names() == QStringList{"Ann!", "Bob!"});
    CHECK(bench.reasons.isEmpty());
}

TEST_CASE("sqlite transaction: what is not committed has not happened")
{
    SqliteTransactionBench bench;
    {
        SqliteTransaction writing(bench.path, Kind::Write, bench.report);
        CHECK(writing.run(kInsert, {1, "Ann"}));
    }
    CHECK(bench.names().isEmpty());
}

TEST_CASE("sqlite transaction: after a failure nothing more is done, and it is reported once")
{
    SqliteTransactionBench bench;
    {
        SqliteTransaction writing(bench.path, Kind::Write, bench.report);
        CHECK(writing.run(kInsert, {1, "Ann"}));
        CHECK_FALSE(writing.run(kInsert, {1, "Bob"}));
        CHECK_FALSE(writing);
        CHECK_FALSE(writing.run(kInsert, {2, "Cid"}));
        int rows = 0;
        CHECK_FALSE(writing.run("SELECT 1 FROM cards", {}, [&rows](const QSqlQuery&) { ++rows; }));
        CHECK(rows == 0);
        CHECK_FALSE(writing.commit());
    }
    CHECK(bench.reasons.size() == 1);
    CHECK(bench.reasons.value(0).contains("UNIQUE constraint failed"));
    CHECK(bench.names().isEmpty());
}

TEST_CASE("sqlite transaction: a statement that makes no sense is reported")
{
    SqliteTransactionBench bench;
    SqliteTransaction reading(bench.path, Kind::Read, bench.report);
    CHECK_FALSE(reading.run("SELECT name FROM crads"));
    REQUIRE(bench.reasons.size() == 1);
    CHECK(bench.reasons[0].contains("no such table: crads"));
}

TEST_CASE("sqlite transaction: rows that cannot all be read are a failure")
{
    SqliteTransactionBench bench;
    SqliteTransaction writing(bench.path, Kind::Write, bench.report);
    REQUIRE(writing.run(kInsert, {1, "7"}));
    REQUIRE(writing.run(kInsert, {2, "-9223372036854775808"}));
    // The first row is fine, the second one overflows.
    int rows = 0;
    CHECK_FALSE(
        writing.run("SELECT abs(CAST(name AS INTEGER)) FROM cards ORDER BY code", {}, [&rows](const QSqlQuery&) { ++rows; }));
    CHECK(rows == 1);
    REQUIRE(bench.reasons.size() == 1);
    CHECK(bench.reasons[0].contains("integer overflow"));
    CHECK_FALSE(writing.commit());
}

TEST_CASE("sqlite transaction: an absent text is the empty one")
{
    SqliteTransactionBench bench;
    SqliteTransaction writing(bench.path, Kind::Write, bench.report);
    CHECK(writing.run(kInsert, {1, QString()}));
    CHECK(writing.commit());
    CHECK(bench.names() == QStringList{""});
}

TEST_CASE("sqlite transaction: what a writer has read stays true until it writes")
{
    SqliteTransactionBench bench;
    std::optional<SqliteTransaction> first(std::in_place, bench.path, Kind::Write, bench.report);
    REQUIRE(first->run("SELECT 1 FROM cards"));
    bool isSecondDone = false;
    QStringList reasons;
    std::thread other([&] {
        SqliteTransaction second(bench.path, Kind::Write,
                                 [&reasons](const QString& reason, const QString&) { reasons << reason; });
        isSecondDone = second.run("INSERT INTO cards SELECT count(*) + 1, 'Bob' FROM cards") && second.commit();
    });
    const bool isFirstDone = first->run("INSERT INTO cards SELECT count(*) + 1, 'Ann' FROM cards") && first->commit();
    first.reset();
    other.join();
    CHECK(isFirstDone);
    CHECK(isSecondDone);
    CHECK(reasons.isEmpty());
    CHECK(bench.names() == QStringList{"Ann", "Bob"});
}

TEST_CASE("sqlite transaction: a file that is no database is reported in SQLite's words, and nothing is done")
{
    SqliteTransactionBench bench;
    const QString path = bench.folder.write("letter", QByteArray("this is no database, but a letter").repeated(40));
    SqliteTransaction writing(path, Kind::Write, bench.report);
    CHECK_FALSE(writing.run("SELECT 1 FROM sqlite_master"));
    CHECK(bench.reasons.size() == 1);
    CHECK_FALSE(writing.commit());
}
