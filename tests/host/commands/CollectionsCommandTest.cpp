// The real program's `tavola collections`.

#include "Folder.hpp"
#include "Patience.hpp"
#include "services/collections/CollectionDatabase.hpp"

#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QDateTime>
#include <QProcess>

using namespace Host;
using Kind = CollectionDatabase::Change::Kind;

namespace
{
struct CollectionsAnswer
{
    int code = -1;
    QString out;
    QString err;
};

/// A presentation, and the data of its table.
struct CollectionsDesk
{
    Folder folder;
    CollectionDatabase file{
        *CollectionPlace::of({}, folder.path(QStringLiteral("data/collections/collections.sqlite"))),
        {},
        [](const QString& what, const QString& reason, const QString&) { FAIL((what + reason).toStdString()); }};

    CollectionsDesk() { folder.write(QStringLiteral("show/presentation.json"), R"({"people": "people.csv"})"); }

    CollectionsAnswer askThe(const QString& command, const QString& action, const QStringList& more = {}) const
    {
        QProcess program;
        program.start(QStringLiteral(TAVOLA_PROGRAM),
                      QStringList{command, action, folder.path(QStringLiteral("show"))} + more
                          + QStringList{QStringLiteral("--data"), folder.path(QStringLiteral("data"))});
        REQUIRE(program.waitForFinished(TestSupport::kPatienceMs));
        REQUIRE(program.exitStatus() == QProcess::NormalExit);
        return {program.exitCode(), QString::fromUtf8(program.readAllStandardOutput()),
                QString::fromUtf8(program.readAllStandardError())};
    }
    CollectionsAnswer ask(const QString& action, const QStringList& more = {}) const
    {
        return askThe(QStringLiteral("collections"), action, more);
    }
    void keep(unsigned long code, const char* key, const char* name)
    {
        CollectionDatabase::Change change{Kind::Add, code, {}};
        change.item.key = QString::fromUtf8(key);
        change.item.displayName = QString::fromUtf8(name);
        CHECK(file.apply({change}, 1700000000));
    }
};
}

TEST_CASE("tavola collections: lists cards and their things, and removes what it is told to")
{
    CollectionsDesk desk;
    CHECK(desk.ask("list").out == "Nothing is kept.\n");
    CHECK(desk.ask("clear", {"--all"}).out == "Nothing is kept.\n");
    CHECK_FALSE(desk.file.exists());
    REQUIRE(desk.file.open());
    desk.keep(1001, "a-1", "Moon");
    desk.keep(1001, "a-2", "Two\nlines");
    desk.keep(1002, "a-3", "Sea");
    const QString time = QDateTime::fromSecsSinceEpoch(1700000000).toString(QStringLiteral("yyyy-MM-dd hh:mm"));
    CHECK(desk.ask("list").out == QStringLiteral("1001  2 kept  first %1  last %1\n1002  1 kept  first %1  last %1\n").arg(time));
    CHECK(desk.ask("list", {"1001", "1003"}).out == "1001  Moon\n1001  Two lines\n1003  nothing is kept\n");
    CHECK(desk.ask("clear", {"1001"}).out == "2 removed.\n");
    CHECK(desk.file.cards()->size() == 1);
    CHECK(desk.ask("clear", {"--all"}).out == "1 removed.\n");
    CHECK(desk.ask("list").out == "Nothing is kept.\n");
}

TEST_CASE("tavola collections: a command line that makes no sense is refused with what it wants")
{
    const CollectionsDesk desk;
    const struct
    {
        const char* action;
        QStringList more;
        const char* err;
    } rows[] = {
        {"clear", {}, "clear wants either the codes of cards or --all"},
        {"clear", {"1001", "--all"}, "clear wants either the codes of cards or --all"},
        {"clear", {"Ann"}, "\"Ann\" is no card code, a whole number is expected"},
        {"list", {"--all"}, "--all belongs to clear only"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.err);
        const CollectionsAnswer answer = desk.ask(QString::fromUtf8(row.action), row.more);
        CHECK(answer.code == 2);
        CHECK(answer.err.contains(QString::fromUtf8(row.err)));
        CHECK(answer.out.isEmpty());
    }
    CHECK(desk.ask("list", {"--help"}).out.contains("clear PRESENTATION --all"));
}

TEST_CASE("tavola collections: a file that is no store is an error with its remedy")
{
    const CollectionsDesk desk;
    desk.folder.write(QStringLiteral("data/collections/collections.sqlite"), QByteArray("a letter ").repeated(200));
    const CollectionsAnswer answer = desk.ask("clear", {"1001"});
    CHECK(answer.code == 1);
    CHECK(answer.err.contains("move it away to begin a new one"));
}

TEST_CASE("tavola collections: without a database there is nothing to import into")
{
    const CollectionsDesk desk;
    CHECK(desk.ask("import").code == 1);
    CHECK(desk.ask("import").err.contains("has no \"database\" to import into"));
    CHECK(desk.ask("import", {"1001"}).code == 2);
}

TEST_CASE("tavola collections: what a table kept in its file goes into the database of all tables, once")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    CollectionsDesk desk;
    REQUIRE(desk.file.open());
    desk.keep(1001, "a-1", "Moon");
    desk.keep(1002, "a-2", "Sea");
    desk.file.close();
    desk.folder.write(QStringLiteral("show/presentation.json"),
                      QStringLiteral(R"({"people": "people.csv", "collections": {"keep": "forever"}, "database": "%1"})")
                          .arg(database.address().shown())
                          .toUtf8());
    const CollectionsAnswer answer = desk.ask("import");
    CHECK_MESSAGE(answer.code == 0, answer.err.toStdString());
    CHECK(answer.out.startsWith("2 imported, 0 were there or had been removed. The file is "));
    CHECK(answer.out.contains("collections-imported.sqlite"));
    CHECK(desk.ask("list", {"1001"}).out == "1001  Moon\n");
    CHECK(desk.ask("import").out.startsWith("There is nothing to import: "));
}

TEST_CASE("tavola people: removing a card removes what it has collected")
{
    CollectionsDesk desk;
    desk.folder.write(QStringLiteral("show/people.csv"), "code,name\n1001,Ann\n1002,Bo\n");
    REQUIRE(desk.file.open());
    desk.keep(1001, "a-1", "Moon");
    desk.keep(1002, "a-2", "Sea");
    // Nothing is removed of a list with an unknown card.
    CHECK(desk.askThe("people", "remove", {"1001", "1009"}).code == 1);
    CHECK(desk.file.cards()->size() == 2);
    CHECK(desk.askThe("people", "remove", {"1001"}).code == 0);
    REQUIRE(desk.file.cards()->size() == 1);
    CHECK(desk.file.cards()->front().code == 1002);
    desk.folder.write(QStringLiteral("data/collections/collections.sqlite"), QByteArray("a letter ").repeated(200));
    QFile::remove(desk.folder.path(QStringLiteral("data/collections/collections.sqlite-wal")));
    const CollectionsAnswer answer = desk.askThe("people", "remove", {"1002"});
    CHECK(answer.code == 1);
    CHECK(answer.err.contains("the cards were removed, but not what they have collected; run tavola collections clear"));
}
