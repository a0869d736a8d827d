#include "services/content/ContentQueue.hpp"

#include <LogCapture.hpp>

#include <doctest/doctest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Host;

namespace
{
ContentNote note(const char* name, char hash)
{
    return {QString::fromUtf8(name), QStringLiteral("/museum/") + QString::fromUtf8(name), QByteArray(64, hash), 5000000000};
}
}

TEST_CASE("content queue: notes are kept in their order over restarts until they are removed, one for each name")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("new/queue.sqlite"));
    CHECK(ContentQueue(path).notes()->empty());
    CHECK_FALSE(QFile::exists(path));
    CHECK(ContentQueue(path).keep(note("zoo.png", 'a')));
    CHECK(ContentQueue(path).keep(note("boat.png", 'b')));
    const auto notes = ContentQueue(path).notes();
    REQUIRE(notes->size() == 2);
    CHECK((*notes)[0].name == QLatin1String("zoo.png"));
    CHECK((*notes)[1].path == QLatin1String("/museum/boat.png"));
    CHECK((*notes)[1].sha256 == QByteArray(64, 'b'));
    CHECK((*notes)[1].size == 5000000000);

    CHECK(ContentQueue(path).keep(note("boat.png", 'c')));
    // A file that was collected anew meanwhile stays.
    CHECK(ContentQueue(path).remove(note("boat.png", 'b')));
    CHECK(ContentQueue(path).notes()->size() == 2);
    CHECK(ContentQueue(path).remove(note("boat.png", 'c')));
    CHECK(ContentQueue(path).remove(note("zoo.png", 'a')));
    CHECK(ContentQueue(path).notes()->empty());
}

TEST_CASE("content queue: a file that is no database is reported once with its remedy, and another reason once more")
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("queue.sqlite"));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("no database ").repeated(100));
    file.close();
    const std::string start =
        "ContentQueue # Failed to use " + path.toStdString() + ", which keeps what the media server has still to be sent: ";
    const ContentQueue queue(path);
    TestSupport::expectWarningStartingWith(start + "file is not a database");
    CHECK_FALSE(queue.notes());
    CHECK_FALSE(queue.keep(note("boat.png", 'b')));
    CHECK_FALSE(queue.remove(note("boat.png", 'b')));

    REQUIRE(file.remove());
    REQUIRE(QDir().mkdir(path));
    TestSupport::expectWarningStartingWith(start);
    CHECK_FALSE(queue.keep(note("boat.png", 'b')));
    CHECK_FALSE(queue.keep(note("boat.png", 'b')));
}
