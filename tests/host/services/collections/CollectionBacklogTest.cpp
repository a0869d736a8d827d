#include "services/collections/CollectionBacklog.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QFile>

using namespace Host;
using Kind = CollectionBacklog::Change::Kind;

namespace
{
CollectionBacklog::Change backlogChange(Kind kind, unsigned long code, const char* key, const char* name)
{
    CollectionBacklog::Change result{kind, code, {}};
    result.item.key = QString::fromUtf8(key);
    result.item.displayName = QString::fromUtf8(name);
    result.item.preview = QStringLiteral("/previews/one.png");
    result.item.status = 3;
    return result;
}

/// "kind code key name status preview" of each change that a program finds, and how many are damaged.
QStringList left(const Folder& folder)
{
    int unreadable = 0;
    QStringList lines;
    for (const auto& change : CollectionBacklog(folder.path()).read(unreadable))
        lines << QStringLiteral("%1 %2 %3 %4 %5 %6")
                     .arg(int(change.kind))
                     .arg(change.code)
                     .arg(change.item.key, change.item.displayName)
                     .arg(change.item.status)
                     .arg(change.item.preview);
    if (unreadable > 0)
        lines << QStringLiteral("%1 unreadable").arg(unreadable);
    return lines;
}
}

TEST_CASE("collection backlog: what a program has left is there for the next one, whole and in order")
{
    const Folder folder;
    QString error;
    CollectionBacklog backlog(folder.path());
    CHECK(left(folder).isEmpty());
    CHECK(backlog.append({backlogChange(Kind::Add, 18446744073709551615UL, "b-2", "Two \n words"),
                          backlogChange(Kind::Update, 7, "a-1", "\u00e4")},
                         error));
    CHECK(backlog.append({backlogChange(Kind::Remove, 7, "a-3", "")}, error));
    CHECK(left(folder)
          == QStringList{"0 18446744073709551615 b-2 Two \n words 3 /previews/one.png",
                         QStringLiteral("1 7 a-1 \u00e4 3 /previews/one.png"), "2 7 a-3  3 /previews/one.png"});
    CHECK(backlog.clear(error));
    CHECK(left(folder).isEmpty());
    CHECK(backlog.append({backlogChange(Kind::Add, 7, "a-4", "four")}, error));
    CHECK(left(folder) == QStringList{"0 7 a-4 four 3 /previews/one.png"});
}

TEST_CASE("collection backlog: a file that another program has left is emptied once its changes are written")
{
    const Folder folder;
    QString error;
    CHECK(CollectionBacklog(folder.path()).append({backlogChange(Kind::Add, 7, "a-1", "one")}, error));
    CollectionBacklog next(folder.path());
    int unreadable = 0;
    CHECK(next.read(unreadable).size() == 1);
    CHECK(next.clear(error));
    CHECK(left(folder).isEmpty());
}

TEST_CASE("collection backlog: a file with nothing in it goes with the program, one with changes stays")
{
    const Folder folder;
    QString error;
    {
        CollectionBacklog backlog(folder.path());
        CHECK(backlog.append({backlogChange(Kind::Add, 7, "a-1", "one")}, error));
    }
    REQUIRE(left(folder).size() == 1);
    {
        CollectionBacklog backlog(folder.path());
        int unreadable = 0;
        (void)backlog.read(unreadable);
        CHECK(backlog.clear(error));
        CHECK(QFile::exists(backlog.path()));
    }
    CHECK_FALSE(QFile::exists(CollectionBacklog(folder.path()).path()));
}

TEST_CASE("collection backlog: a change that was being written when the power failed is nothing, and spoils no later one")
{
    const Folder folder;
    QString error;
    CHECK(CollectionBacklog(folder.path()).append({backlogChange(Kind::Add, 7, "a-1", "one")}, error));
    QFile file(CollectionBacklog(folder.path()).path());
    REQUIRE(file.open(QIODevice::Append));
    file.write("0 7 [{\"key\":\"a-");
    file.close();
    CollectionBacklog backlog(folder.path());
    int unreadable = 0;
    CHECK(backlog.read(unreadable).size() == 1);
    CHECK(unreadable == 0);
    CHECK(backlog.append({backlogChange(Kind::Add, 7, "a-2", "two")}, error));
    CHECK(left(folder) == QStringList{"0 7 a-1 one 3 /previews/one.png", "0 7 a-2 two 3 /previews/one.png"});
}

TEST_CASE("collection backlog: a damaged line costs itself")
{
    const Folder folder;
    QString error;
    CHECK(CollectionBacklog(folder.path()).append({backlogChange(Kind::Add, 7, "a-1", "one")}, error));
    QFile file(CollectionBacklog(folder.path()).path());
    REQUIRE(file.open(QIODevice::ReadWrite));
    const QByteArray good = file.readAll();
    for (const char* bad : {"", "word", "3 7 [{\"key\":\"a-1\"}]", "-1 7 [{\"key\":\"a-1\"}]", "0 x [{\"key\":\"a-1\"}]",
                            "0 7 [{\"key\":\"\"}]", "0 7 []", "0 7 {"}) {
        CAPTURE(bad);
        REQUIRE(file.resize(0));
        REQUIRE(file.seek(0));
        file.write(bad + QByteArray("\n") + good);
        REQUIRE(file.flush());
        QStringList expected{"0 7 a-1 one 3 /previews/one.png"};
        if (*bad)
            expected << QStringLiteral("1 unreadable");
        CHECK(left(folder) == expected);
    }
}

TEST_CASE("collection backlog: its folder is made, and one that cannot be made is the reason of a failure")
{
    const Folder folder;
    QString error;
    CollectionBacklog made(folder.path(QStringLiteral("new/folder")));
    CHECK(made.append({backlogChange(Kind::Add, 7, "a-1", "one")}, error));
    CHECK(QFile::exists(made.path()));
    folder.write(QStringLiteral("file"), "no folder");
    CollectionBacklog backlog(folder.path(QStringLiteral("file")));
    CHECK_FALSE(backlog.append({backlogChange(Kind::Add, 7, "a-1", "one")}, error));
    CHECK_FALSE(error.isEmpty());
}
