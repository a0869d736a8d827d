#include "services/collections/CollectionPreviews.hpp"

#include "Folder.hpp"

#include <doctest/doctest.h>

#include <QDateTime>
#include <QDir>

using namespace Host;
using Copied = CollectionPreviews::Copied;

namespace
{
struct Place
{
    Folder folder;
    CollectionPreviews previews{folder.path(QStringLiteral("data/collections/previews"))};
    QString name;
    QString error;

    Place() { REQUIRE(previews.prepare(error)); }
    QStringList files() const { return QDir(folder.path(QStringLiteral("data/collections/previews"))).entryList(QDir::Files); }
    QByteArray content(const QString& file) const
    {
        QFile opened(previews.path(file));
        REQUIRE(opened.open(QIODevice::ReadOnly));
        return opened.readAll();
    }
    Copied copy(const QString& picture, const char* key) { return previews.copy(picture, QString::fromUtf8(key), name, error); }
};

void age(const QString& path, int seconds)
{
    QFile file(path);
    REQUIRE(file.open(QIODevice::ReadWrite));
    REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds), QFileDevice::FileModificationTime));
}
}

TEST_CASE("collection previews: a picture is copied under its item's key, and stays when the original goes")
{
    Place place;
    const QString picture = place.folder.write(QStringLiteral("tmp/snapshot-7.png"), "picture");
    CHECK(place.copy(picture, "run-1") == Copied::Yes);
    CHECK(place.name == "run-1.png");
    REQUIRE(QFile::remove(picture));
    CHECK(place.files() == QStringList{"run-1.png"});
    CHECK(place.content("run-1.png") == "picture");
    CHECK(place.previews.contains(place.previews.path("run-1.png")));
    CHECK_FALSE(place.previews.contains(picture));
}

TEST_CASE("collection previews: a picture that is copied already is not written again, a newer one is")
{
    Place place;
    const QString picture = place.folder.write(QStringLiteral("a.png"), "first");
    REQUIRE(place.copy(picture, "run-1") == Copied::Yes);
    place.folder.write(QStringLiteral("data/collections/previews/run-1.png"), "other"); // of the same size
    CHECK(place.copy(picture, "run-1") == Copied::Yes);
    CHECK(place.content("run-1.png") == "other");
    age(place.previews.path("run-1.png"), 60);
    CHECK(place.copy(picture, "run-1") == Copied::Yes);
    CHECK(place.content("run-1.png") == "first");
    place.folder.write(QStringLiteral("a.png"), "longer");
    CHECK(place.copy(picture, "run-1") == Copied::Yes);
    CHECK(place.content("run-1.png") == "longer");
}

TEST_CASE("collection previews: a picture that cannot be read is no failure of the folder, a folder that is gone is one")
{
    Place place;
    CHECK(place.copy(place.folder.path(QStringLiteral("missing.png")), "run-1") == Copied::NoSource);
    CHECK(place.copy(place.folder.path(), "run-1") == Copied::NoSource);
    const QString picture = place.folder.write(QStringLiteral("a.png"), "picture");
    REQUIRE(QDir(place.folder.path(QStringLiteral("data"))).removeRecursively());
    CHECK(place.copy(picture, "run-1") == Copied::Failed);
    CHECK(place.error == "No such file or directory");
    CHECK(place.previews.prepare(place.error));
    CHECK(place.copy(picture, "run-1") == Copied::Yes);
}

TEST_CASE("collection previews: a file in the folder's place is named")
{
    const Folder folder;
    folder.write(QStringLiteral("data"), "a file");
    QString error;
    CHECK_FALSE(CollectionPreviews(folder.path(QStringLiteral("data/previews"))).prepare(error));
    CHECK(error == "cannot make the folder " + folder.path(QStringLiteral("data/previews")));
}

TEST_CASE("collection previews: old files that no item names are removed, those of the last hour stay")
{
    Place place;
    for (const char* name : {"kept.png", "old.png", "new.png"})
        place.folder.write(QStringLiteral("data/collections/previews/") + name, "x");
    age(place.previews.path("kept.png"), 4000);
    age(place.previews.path("old.png"), 4000);
    age(place.previews.path("new.png"), 3000);
    place.previews.removeAllBut({"kept.png"});
    CHECK(place.files() == QStringList{"kept.png", "new.png"});
    place.previews.remove({"kept.png", "", "missing.png"});
    CHECK(place.files() == QStringList{"new.png"});
}
