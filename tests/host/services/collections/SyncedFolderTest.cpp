#include "services/collections/SyncedFolder.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>

#include <sys/resource.h>

using namespace Host;

namespace
{
QByteArray contentOf(const SyncedFolder& folder, const char* name)
{
    QFile file(folder.path(QString::fromUtf8(name)));
    REQUIRE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}
}

TEST_CASE("synced folder: what is written replaces the file, what is appended follows what is there, and a cleared file is empty")
{
    const Folder place;
    const SyncedFolder folder(place.path(QStringLiteral("new/folder")));
    QString error;
    CHECK(folder.clear(QStringLiteral("one"), error)); // is not there
    CHECK_FALSE(QDir(folder.folder()).exists());
    CHECK(folder.append(QStringLiteral("one"), "first ", error));
    CHECK(folder.append(QStringLiteral("one"), "second", error));
    CHECK(contentOf(folder, "one") == "first second");
    CHECK(folder.clear(QStringLiteral("one"), error));
    CHECK(contentOf(folder, "one").isEmpty());
    CHECK(folder.append(QStringLiteral("one"), "third", error));
    CHECK(contentOf(folder, "one") == "third");
    CHECK(folder.write(QStringLiteral("one"), "other", error));
    CHECK(contentOf(folder, "one") == "other");
    CHECK(QDir(folder.folder()).entryList(QDir::Files) == QStringList{"one"});
}

TEST_CASE("synced folder: one that cannot be made is the reason of a failure")
{
    const Folder place;
    place.write(QStringLiteral("file"), "no folder");
    const SyncedFolder folder(place.path(QStringLiteral("file")));
    QString error;
    CHECK_FALSE(folder.append(QStringLiteral("one"), "x", error));
    CHECK(error == "cannot make the folder " + folder.folder());
    CHECK_FALSE(folder.write(QStringLiteral("one"), "x", error));
}

TEST_CASE("synced folder: a full disk is the reason of a failure")
{
    const Folder place;
    REQUIRE(QFile::link(QStringLiteral("/dev/full"), place.path(QStringLiteral("one"))));
    const SyncedFolder folder(place.path());
    QString error;
    CHECK_FALSE(folder.append(QStringLiteral("one"), "x", error));
    CHECK(error == "No space left on device");
}

TEST_CASE("synced folder: of what does not fit nothing stays in the file")
{
    const Folder place;
    const SyncedFolder folder(place.path());
    QString error;
    REQUIRE(folder.append(QStringLiteral("one"), "0123456789", error));
    struct rlimit before = {};
    REQUIRE(::getrlimit(RLIMIT_FSIZE, &before) == 0);
    struct rlimit narrow = before;
    narrow.rlim_cur = 14;
    REQUIRE(::setrlimit(RLIMIT_FSIZE, &narrow) == 0);
    const bool isDone = folder.append(QStringLiteral("one"), "abcdefgh", error);
    REQUIRE(::setrlimit(RLIMIT_FSIZE, &before) == 0);
    CHECK_FALSE(isDone);
    CHECK(error == "No space left on device");
    CHECK(contentOf(folder, "one") == "0123456789");
}
