#include "IncomingFiles.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>

using namespace MediaServer;
using Ending = IncomingFiles::Ending;

namespace
{

struct Fixture
{
    Fixture() { REQUIRE(files.isWritable()); }

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

} // namespace

TEST_CASE_FIXTURE(Fixture, "incoming files: pieces make a file, which appears under its name when it is whole")
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

TEST_CASE_FIXTURE(Fixture, "incoming files: a restart goes on where a transfer ended, and drops what has not grown for a week")
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

TEST_CASE_FIXTURE(Fixture, "incoming files: a file never takes the place of another one")
{
    (void)files.append(map, 0, "abcdef");
    folder.write(QStringLiteral("map.png"), "by hand");
    CHECK(files.place(map, placed, reason) == Ending::NameInUse);
    CHECK(file("map.png") == "by hand");
    CHECK(aside().isEmpty());
}

TEST_CASE_FIXTURE(Fixture, "incoming files: content with another hash is dropped")
{
    (void)files.append(map, 0, "abcdeF");
    CHECK(files.place(map, placed, reason) == Ending::OtherContent);
    CHECK(file("map.png") == "none");
    CHECK(aside().isEmpty());
}

TEST_CASE_FIXTURE(Fixture, "incoming files: two names may wait for one content")
{
    const auto copy = idOf("copy.png", "abcdef");
    (void)files.append(map, 0, "abcdef");
    CHECK(files.received(copy) == 0);
    (void)files.append(copy, 0, "abcdef");
    CHECK(files.place(map, placed, reason) == Ending::Placed);
    CHECK(files.place(copy, placed, reason) == Ending::Placed);
    CHECK(file("copy.png") == "abcdef");
}

TEST_CASE_FIXTURE(Fixture, "incoming files: what the system refuses is said in its words")
{
    REQUIRE(QDir().rmdir(folder.path(QStringLiteral(".incoming"))));
    CHECK(files.append(map, 0, "abc").error() == QLatin1String("No such file or directory"));
    CHECK(files.place(map, placed, reason) == Ending::Failed);
    CHECK(reason == QLatin1String("No such file or directory"));
    folder.write(QStringLiteral(".incoming"), "a file");
    CHECK_FALSE(files.isWritable());
}
