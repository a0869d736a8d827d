#include <Bedrock/SqliteRemedy.hpp>

#include <doctest/doctest.h>

using Bedrock::sqliteRemedy;

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
