#include "content/IncomingFiles.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>

#include <sys/stat.h>

using namespace MediaServer;
using Ending = IncomingFiles::Ending;

namespace
{

struct IncomingFilesFixture
{
    IncomingFilesFixture() { REQUIRE(files.isWritable()); }

    static IncomingFiles::Id idOf(const char* name, const QByteArray& content)
    {
        return {QString::fromUtf8(name), QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex()};
    }

    QByteArray file(const char* name) const
    {
        QFile file(folder.path(QString::fromUtf8(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
    }

    QStringList aside() const { return QDir(folder.path(QStringLiteral(".incoming"))).entryList(QDir::Files); }

    Folder folder;
    IncomingFiles files{folder.path()};
    IncomingFiles::Id map = idOf("map.png", "abcdef");
    Http::File placed;
    QString reason;
};

}

TEST_CASE_FIXTURE(IncomingFilesFixture, "incoming files: pieces make a file, which appears under its name when it is whole")
{
    CHECK(files.received(map) == 0);
    CHECK(*files.append(map, 0, "abc") == 3);
    CHECK(files.received(map) == 3);
    CHECK(file("map.png") == "none");
    // Pieces from elsewhere than the end change nothing.
    CHECK(*files.append(map, 0, "xyz") == 3);
    CHECK(*files.append(map, 4, "xyz") == 3);
    CHECK(*files.append(map, 3, "def") == 6);
    CHECK(files.place(map, placed, reason) == Ending::Placed);
    CHECK(placed.isOpen());
    CHECK(file("map.png") == "abcdef");
    CHECK(aside().isEmpty());
}

TEST_CASE_FIXTURE(IncomingFilesFixture,
                  "incoming files: a restart goes on where a transfer ended, and drops what has not grown for a week")
{
    (void)files.append(map, 0, "abc");
    const auto old = idOf("old.png", "old");
    (void)files.append(old, 0, "o");
    for (const QString& name : aside()) {
        QFile each(folder.path(QStringLiteral(".incoming/") + name));
        REQUIRE(each.open(QIODevice::ReadWrite));
        const int days = name.startsWith(QString::fromLatin1(old.sha256)) ? 8 : 6;
        REQUIRE(each.setFileTime(QDateTime::currentDateTimeUtc().addDays(-days), QFileDevice::FileModificationTime));
    }
    const IncomingFiles again(folder.path());
    CHECK(again.received(map) == 3);
    CHECK(again.received(old) == 0);
}

TEST_CASE_FIXTURE(IncomingFilesFixture,
                  "incoming files: what has another name stays, however old, and nothing is removed or written through a link")
{
    const auto makeOld = [this](const QString& name) {
        QFile old(folder.path(name));
        REQUIRE(old.open(QIODevice::ReadWrite));
        REQUIRE(old.setFileTime(QDateTime::currentDateTimeUtc().addDays(-30), QFileDevice::FileModificationTime));
    };
    const QString own = QString::fromLatin1(map.sha256) + QStringLiteral("-0123456789abcdef");
    for (const QString& name : {QStringLiteral("notes.txt"), own, own + QStringLiteral("0"), QStringLiteral("x") + own})
        makeOld(QStringLiteral(".incoming/") + name);
    const IncomingFiles again(folder.path());
    CHECK(aside() == QStringList{own + QStringLiteral("0"), QStringLiteral("notes.txt"), QStringLiteral("x") + own});

    REQUIRE(QDir(folder.path()).mkdir(QStringLiteral("elsewhere")));
    makeOld(QStringLiteral("elsewhere/") + own);
    REQUIRE(QDir(folder.path(QStringLiteral(".incoming"))).removeRecursively());
    REQUIRE(QFile::link(folder.path(QStringLiteral("elsewhere")), folder.path(QStringLiteral(".incoming"))));
    const IncomingFiles linked(folder.path());
    CHECK(QFile::exists(folder.path(QStringLiteral("elsewhere/") + own)));
    CHECK_FALSE(linked.isWritable());
}

TEST_CASE_FIXTURE(IncomingFilesFixture, "incoming files: a pipe in the place of a file is not waited for")
{
    (void)files.append(map, 0, "abc");
    REQUIRE(aside().size() == 1);
    const QString name = folder.path(QStringLiteral(".incoming/") + aside().first());
    REQUIRE(QFile::remove(name));
    REQUIRE(::mkfifo(QFile::encodeName(name).constData(), 0600) == 0);
    CHECK_FALSE(files.append(map, 0, "abc"));
}

TEST_CASE_FIXTURE(IncomingFilesFixture, "incoming files: a file never takes the place of another one")
{
    (void)files.append(map, 0, "abcdef");
    folder.write(QStringLiteral("map.png"), "by hand");
    CHECK(files.place(map, placed, reason) == Ending::NameInUse);
    CHECK(file("map.png") == "by hand");
    CHECK(aside().isEmpty());
}

TEST_CASE_FIXTURE(IncomingFilesFixture, "incoming files: content with another hash is dropped")
{
    (void)files.append(map, 0, "abcdeF");
    CHECK(files.place(map, placed, reason) == Ending::OtherContent);
    CHECK(file("map.png") == "none");
    CHECK(aside().isEmpty());
}

TEST_CASE_FIXTURE(IncomingFilesFixture, "incoming files: two names may wait for one content")
{
    const auto copy = idOf("copy.png", "abcdef");
    (void)files.append(map, 0, "abcdef");
    CHECK(files.received(copy) == 0);
    (void)files.append(copy, 0, "abcdef");
    CHECK(files.place(map, placed, reason) == Ending::Placed);
    CHECK(files.place(copy, placed, reason) == Ending::Placed);
    CHECK(file("copy.png") == "abcdef");
}

TEST_CASE_FIXTURE(IncomingFilesFixture, "incoming files: what the system refuses is said in its words")
{
    REQUIRE(QDir().rmdir(folder.path(QStringLiteral(".incoming"))));
    CHECK(files.append(map, 0, "abc").error() == QLatin1String("No such file or directory"));
    CHECK(files.place(map, placed, reason) == Ending::Failed);
    CHECK(reason == QLatin1String("No such file or directory"));
    folder.write(QStringLiteral(".incoming"), "a file");
    CHECK_FALSE(files.isWritable());
}
