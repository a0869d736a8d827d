#include "services/collections/CollectionImport.hpp"

#include "Folder.hpp"
#include "services/collections/CollectionDatabase.hpp"

#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QFile>

using namespace Host;
using Kind = CollectionDatabase::Change::Kind;

namespace
{
/// The store of one table, or the one that tables share.
struct ImportEnd
{
    explicit ImportEnd(const CollectionPlace& place)
        : database(place, {},
                   [](const QString& what, const QString& reason, const QString&) { FAIL((what + reason).toStdString()); })
    {
        REQUIRE(database.open());
    }
    void add(const QString& key, const QString& picture = {}, qint64 now = 1000)
    {
        CollectionDatabase::Change change{Kind::Add, 7, {}};
        change.item.key = key;
        change.item.displayName = QStringLiteral("named ") + key;
        change.item.status = 3;
        change.item.preview = picture;
        CHECK(database.apply({change}, now));
    }
    QStringList keys(qint64 since = 0)
    {
        QStringList result;
        const std::vector<CollectedItem> items = database.items(7, since).value();
        for (const CollectedItem& item : items)
            result << item.key;
        return result;
    }

    CollectionDatabase database;
};
}

TEST_CASE("collection import: what a table kept comes before what was collected since, in order, with times and pictures")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const Folder folder;
        const TestDatabase shared(kind);
        CAPTURE(shared.name());
        CollectionPlace place;
        place.address = shared.address();
        place.previews = folder.path(QStringLiteral("data/previews"));
        const QString file = folder.path(QStringLiteral("data/collections.sqlite"));
        const QString picture = folder.write(QStringLiteral("tmp/shot.png"), "picture");
        {
            ImportEnd own(*CollectionPlace::of({}, file));
            own.add(QStringLiteral("z-1"), picture, 500);
            own.add(QStringLiteral("z-10"));
        }
        {
            ImportEnd own(*CollectionPlace::of({}, file)); // another run
            own.add(QStringLiteral("b-1"));
            own.add(QStringLiteral("b-2"));
        }
        ImportEnd target(place);
        target.add(QStringLiteral("m-1"));
        CollectionDatabase::Change removal{Kind::Remove, 7, {}};
        removal.item.key = QStringLiteral("b-1");
        CHECK(target.database.apply({removal}, 1000));
        for (const int added : {3, 0}) {
            const auto imported = CollectionImport::run(file, place);
            REQUIRE_MESSAGE(imported, imported.error().toStdString());
            CHECK(imported->added == added);
            CHECK(imported->known == 4 - added);
            CHECK(target.keys() == QStringList{"z-1", "z-10", "b-2", "m-1"});
            CHECK(target.keys(501) == QStringList{"z-10", "b-2", "m-1"});
        }
        target.add(QStringLiteral("m-2"));
        CHECK(target.keys().last() == "m-2");
        // A run that begins now is after all of them.
        ImportEnd next(place);
        next.add(QStringLiteral("a-1"));
        CHECK(next.keys() == QStringList{"z-1", "z-10", "b-2", "m-1", "m-2", "a-1"});
        CHECK(next.database.items(7, 0)->front().displayName == "named z-1");
        if (place.isShared()) {
            CollectionPlace elsewhere = place;
            elsewhere.previews = folder.path(QStringLiteral("elsewhere"));
            ImportEnd other(elsewhere);
            QFile copy(other.database.items(7, 0)->front().preview);
            REQUIRE(copy.open(QIODevice::ReadOnly));
            CHECK(copy.readAll() == "picture");
        }
    }
}

TEST_CASE("collection import: hundreds of things are more than one transaction")
{
    const Folder folder;
    CollectionPlace place = *CollectionPlace::of({}, folder.path(QStringLiteral("all/collections.sqlite")));
    const QString file = folder.path(QStringLiteral("data/collections.sqlite"));
    QStringList expected;
    {
        ImportEnd own(*CollectionPlace::of({}, file));
        std::vector<CollectionDatabase::Change> changes;
        for (int i = 1; i <= 250; ++i) {
            CollectionDatabase::Change change{Kind::Add, 7, {}};
            change.item.key = QStringLiteral("a-%1").arg(i);
            expected << change.item.key;
            changes.push_back(change);
        }
        CHECK(own.database.apply(changes, 1000));
    }
    ImportEnd target(place);
    const auto imported = CollectionImport::run(file, place);
    REQUIRE_MESSAGE(imported, imported.error().toStdString());
    CHECK(imported->added == 250);
    CHECK(target.keys() == expected);
}

TEST_CASE("collection import: a file that cannot be read is the reason")
{
    const Folder folder;
    folder.write(QStringLiteral("data/collections.sqlite"), QByteArray(5000, 'w'));
    const auto imported = CollectionImport::run(folder.path(QStringLiteral("data/collections.sqlite")),
                                                *CollectionPlace::of({}, folder.path(QStringLiteral("all.sqlite"))));
    REQUIRE_FALSE(imported);
    CHECK(imported.error().contains("collections.sqlite"));
}
