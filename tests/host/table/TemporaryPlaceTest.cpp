#include "table/TemporaryPlace.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QTemporaryFile>

#include <sys/stat.h>

using namespace Host;

namespace
{
/// A variable of the environment is as it was when this goes.
struct Variable
{
    explicit Variable(const char* nameOf) : name(nameOf) {}
    ~Variable()
    {
        if (isSet)
            qputenv(name, value);
        else
            qunsetenv(name);
    }
    const char* const name;
    const bool isSet = qEnvironmentVariableIsSet(name);
    const QByteArray value = qgetenv(name);
};

int modeOf(const QString& folder)
{
    struct stat status = {};
    return ::lstat(QFile::encodeName(folder).constData(), &status) == 0 ? int(status.st_mode & 07777) : -1;
}
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
        CHECK(QDir(path).entryList(QDir::Files | QDir::Hidden) == QStringList{QStringLiteral(".lock")});
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
    const Variable restored("TMPDIR");
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
    const Variable restored("TMPDIR");
    const Folder folder;
    QByteArray none;
    SUBCASE("in a file")
    {
        none = QFile::encodeName(folder.write(QStringLiteral("no-folder"), "a file"));
    }
    SUBCASE("in a folder that is missing")
    {
        none = QFile::encodeName(folder.path(QStringLiteral("none")));
    }
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

TEST_CASE("temporary place: the session's folder is one in it where none is named that is this user's alone, and what was named "
          "comes back")
{
    const Variable restored("XDG_RUNTIME_DIR");
    const Folder folder;
    const QString named = folder.path(QStringLiteral("session"));
    REQUIRE(QDir().mkdir(named));
    const auto during = [] {
        const TemporaryPlace place;
        const QString runtime = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
        if (runtime == place.path() + QStringLiteral("/runtime"))
            CHECK(modeOf(runtime) == 0700);
        return runtime.startsWith(place.path()) ? QStringLiteral("its own") : runtime;
    };
    qunsetenv("XDG_RUNTIME_DIR");
    CHECK(during() == "its own");
    CHECK_FALSE(qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"));

    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(named));
    REQUIRE(::chmod(QFile::encodeName(named).constData(), 0700) == 0);
    CHECK(during() == named);
    for (const mode_t mode : {0710, 0701, 0770}) {
        CAPTURE(mode);
        REQUIRE(::chmod(QFile::encodeName(named).constData(), mode) == 0);
        CHECK(during() == "its own");
        CHECK(qgetenv("XDG_RUNTIME_DIR") == QFile::encodeName(named));
    }
    for (const QString& none : {folder.path(QStringLiteral("none")), folder.write(QStringLiteral("file"), "no folder")}) {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(none));
        CHECK(during() == "its own");
    }
}
