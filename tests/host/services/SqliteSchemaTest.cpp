#include "services/SqliteSchema.hpp"

#include "Folder.hpp"

#include "services/SqliteTransaction.hpp"

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <sys/stat.h>

using namespace Host;

namespace
{
/// A file of cards; its schema's version is as many as the tables, "cards1" and on.
struct SqliteSchemaBench
{
    Folder folder;
    QString path = folder.path("cards.sqlite");
    QString error;
    std::vector<int> changes; ///< from these versions
    QString fault;            ///< of the next change
    SqliteSchema::WhenLocked whenLocked = SqliteSchema::WhenLocked::Refuse;

    bool prepare(int version)
    {
        const SqliteSchema schema{"a file of cards", version,
                                  [&](SqliteTransaction& transaction, int found, QString& reason) {
                                      changes.push_back(found);
                                      for (int i = found + 1; i <= version; ++i)
                                          transaction.run(QStringLiteral("CREATE TABLE cards%1 (code INTEGER)").arg(i));
                                      reason = fault;
                                      return fault.isEmpty() && transaction;
                                  },
                                  whenLocked};
        error.clear();
        return schema.prepare(path, error);
    }
    [[nodiscard]] QStringList tables() const
    {
        QStringList result;
        SqliteTransaction reading(path, SqliteTransaction::Kind::Read, {});
        CHECK(reading.run("SELECT name FROM sqlite_master ORDER BY name", {},
                          [&result](const QSqlQuery& row) { result << row.value(0).toString(); }));
        return result;
    }
};
}

TEST_CASE("sqlite schema: a new file gets its tables and a write-ahead log, and they are changed once a version")
{
    SqliteSchemaBench bench;
    CHECK(bench.prepare(1));
    CHECK(bench.tables() == QStringList{"cards1"});
    CHECK(bench.prepare(1));
    CHECK(bench.prepare(3));
    CHECK(bench.tables() == QStringList{"cards1", "cards2", "cards3"});
    CHECK(bench.changes == std::vector<int>{0, 1});
    SqliteConnection connection(bench.path);
    QSqlQuery query(connection.database());
    REQUIRE((query.exec("PRAGMA journal_mode") && query.next()));
    CHECK(query.value(0).toString() == "wal");
}

TEST_CASE("sqlite schema: a change that cannot be made leaves the file as it was, and says why")
{
    SqliteSchemaBench bench;
    REQUIRE(bench.prepare(1));
    bench.fault = QStringLiteral("is still in use");
    CHECK_FALSE(bench.prepare(2));
    CHECK(bench.error == bench.path + " is still in use");
    CHECK(bench.tables() == QStringList{"cards1"});
    bench.fault.clear();

    // A statement that fails needs no words of the change.
    {
        SqliteTransaction writing(bench.path, SqliteTransaction::Kind::Write, {});
        writing.run("CREATE TABLE cards3 (code INTEGER)");
        REQUIRE(writing.commit());
    }
    CHECK_FALSE(bench.prepare(3));
    CHECK(bench.error.startsWith("cannot write " + bench.path + " ("));
    CHECK(bench.tables() == QStringList{"cards1", "cards3"});
    CHECK(bench.prepare(2));
}

TEST_CASE("sqlite schema: a file of a higher version is refused and left as it was")
{
    SqliteSchemaBench bench;
    REQUIRE(bench.prepare(2));
    CHECK_FALSE(bench.prepare(1));
    CHECK(bench.error == bench.path + " was made by a newer version of this program; use that one");
    CHECK(bench.prepare(2));
    CHECK(bench.changes.size() == 1);
}

TEST_CASE("sqlite schema: a file that another program keeps locked is refused, or opened where its tables are right")
{
    const int waitBefore = SqliteConnection::setLockWaitMs(100);
    SqliteSchemaBench bench;
    REQUIRE(bench.prepare(1));
    {
        SqliteTransaction other(bench.path, SqliteTransaction::Kind::Write, {});
        CHECK_FALSE(bench.prepare(1));
        CHECK(bench.error.startsWith("cannot write " + bench.path + " ("));
        bench.whenLocked = SqliteSchema::WhenLocked::Open;
        CHECK(bench.prepare(1));
        CHECK_FALSE(bench.prepare(2));
        CHECK(bench.error.startsWith("cannot write " + bench.path + " ("));
    }
    CHECK(bench.prepare(2));
    SqliteConnection::setLockWaitMs(waitBefore);
}

TEST_CASE("sqlite schema: a folder or a pipe in place of the file is refused with its reason, and stays")
{
    SqliteSchemaBench bench;
    REQUIRE(QDir().mkpath(bench.path));
    CHECK_FALSE(bench.prepare(1));
    CHECK(bench.error
          == bench.path
              + " cannot be used as a file of cards (it is a folder); only an ordinary file can be a database: give it another "
                "place");
    CHECK(QFileInfo(bench.path).isDir());
    REQUIRE(QDir().rmdir(bench.path));
    REQUIRE(::mkfifo(QFile::encodeName(bench.path).constData(), 0600) == 0);
    CHECK_FALSE(bench.prepare(1));
    CHECK(bench.error.contains("(it is a pipe or a device)"));
    CHECK(bench.changes.empty());
}
