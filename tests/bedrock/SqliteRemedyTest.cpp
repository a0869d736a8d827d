#include <Bedrock/SqliteRemedy.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

using Bedrock::sqliteRemedy;
using Bedrock::whyNoDatabase;

TEST_CASE("sqlite remedy: only a damaged file is advised to be moved away; every refusal has its remedy")
{
    const QString away = QStringLiteral("move it away to begin a new one");
    for (const int code : {11, 267, 26}) // 267: SQLITE_CORRUPT_VTAB
        CHECK(sqliteRemedy(code) == away);
    for (const int code : {5, 261, 6})
        CHECK(sqliteRemedy(code) == "another program keeps it locked: end that one, and start again");
    for (const int code : {8, 1032, 14, 3, 23})
        CHECK(sqliteRemedy(code) == "let this user write the file and its folder, and mount the disk for writing");
    for (const int code : {10, 13})
        CHECK(sqliteRemedy(code) == "make room on the disk, or check it; nothing in the file is lost");
    CHECK(sqliteRemedy(1) == "check the file and the disk; it was not changed");
}

TEST_CASE("sqlite remedy: what can be no database at all has its reason, and no advice to make room")
{
    const QTemporaryDir folder;
    const auto path = [&folder](const char* name) { return folder.filePath(QLatin1String(name)); };
    CHECK_FALSE(whyNoDatabase(path("new.sqlite")));
    QFile file(path("file.sqlite"));
    REQUIRE(file.open(QIODevice::WriteOnly));
    CHECK_FALSE(whyNoDatabase(file.fileName()));
    REQUIRE(QFile::link(file.fileName(), path("link.sqlite")));
    CHECK_FALSE(whyNoDatabase(path("link.sqlite")));

    REQUIRE(QDir().mkpath(path("folder.sqlite")));
    REQUIRE(::mkfifo(QFile::encodeName(path("pipe.sqlite")).constData(), 0600) == 0);
    REQUIRE(QFile::link(path("b.sqlite"), path("a.sqlite")));
    REQUIRE(QFile::link(path("a.sqlite"), path("b.sqlite")));
    struct Row
    {
        const char* name;
        const char* reason;
    };
    for (const Row& row : {Row{"folder.sqlite", "it is a folder"}, Row{"pipe.sqlite", "it is a pipe or a device"},
                           Row{"a.sqlite", "it is a link that leads round in a circle"}}) {
        CAPTURE(row.name);
        const auto none = whyNoDatabase(path(row.name));
        REQUIRE(none);
        CHECK(none->reason == row.reason);
        CHECK(none->remedy == "only an ordinary file can be a database: give it another place");
    }
    CHECK(whyNoDatabase(QStringLiteral("/dev/null")));
}
