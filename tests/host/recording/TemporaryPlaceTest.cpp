#include "recording/TemporaryPlace.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QTemporaryFile>

using namespace Host;

namespace
{
/// TMPDIR is as it was when this goes.
struct Variable
{
    ~Variable()
    {
        if (isSet)
            qputenv("TMPDIR", value);
        else
            qunsetenv("TMPDIR");
    }
    const bool isSet = qEnvironmentVariableIsSet("TMPDIR");
    const QByteArray value = qgetenv("TMPDIR");
};
}

TEST_CASE("temporary place: temporary files lie in an empty folder of its own while it lives, and go with it")
{
    const QString before = QDir::tempPath();
    QString path;
    QString file;
    {
        const TemporaryPlace place;
        REQUIRE(place.isValid());
        path = place.path();
        CHECK(path != before);
        CHECK(QDir::tempPath() == path);
        CHECK(QDir(path).isEmpty());
        QTemporaryFile temporary;
        temporary.setAutoRemove(false);
        REQUIRE(temporary.open());
        file = temporary.fileName();
        CHECK(QFileInfo(file).path() == path);
    }
    CHECK(QDir::tempPath() == before);
    CHECK_FALSE(QFile::exists(file));
    CHECK_FALSE(QDir(path).exists());
}

TEST_CASE("temporary place: it lies where temporary files lay before, and leaves that as it was")
{
    const Variable restored;
    const Folder folder;
    SUBCASE("where the user wants them")
    {
        qputenv("TMPDIR", QFile::encodeName(folder.path()));
        {
            const TemporaryPlace place;
            CHECK(QFileInfo(place.path()).path() == folder.path());
        }
        CHECK(qgetenv("TMPDIR") == QFile::encodeName(folder.path()));
        CHECK(QDir(folder.path()).isEmpty());
    }
    SUBCASE("where the system does")
    {
        qunsetenv("TMPDIR");
        {
            const TemporaryPlace place;
            CHECK(place.isValid());
            CHECK(qEnvironmentVariableIsSet("TMPDIR"));
        }
        CHECK_FALSE(qEnvironmentVariableIsSet("TMPDIR"));
    }
}

TEST_CASE("temporary place: where none can be made, everything is as before")
{
    const Variable restored;
    const Folder folder;
    const QByteArray none = QFile::encodeName(folder.write(QStringLiteral("no-folder"), "a file"));
    qputenv("TMPDIR", none);
    {
        const TemporaryPlace place;
        CHECK_FALSE(place.isValid());
        CHECK(place.error().startsWith(
            QStringLiteral("Cannot make a folder for temporary files in %1 (").arg(QFile::decodeName(none))));
        CHECK(qgetenv("TMPDIR") == none);
    }
    CHECK(qgetenv("TMPDIR") == none);
}
