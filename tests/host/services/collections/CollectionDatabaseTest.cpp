#include "services/collections/CollectionDatabase.hpp"

#include "Folder.hpp"
#include "PostgresProxy.hpp"
#include "SpoiltDatabase.hpp"
#include "SqliteFault.hpp"
#include "TestDatabase.hpp"

#include <doctest/doctest.h>

#include <QDateTime>
#include <QDir>

#include <functional>

using namespace Host;
using Kind = CollectionDatabase::Change::Kind;
using TestSupport::SpoiltDatabase;
using TestSupport::SqliteFault;

namespace
{
CollectionDatabase::Change change(Kind kind, unsigned long code, const char* key, const char* name = "", int status = 1,
                                  const QString& preview = QString())
{
    CollectionDatabase::Change result{kind, code, {}};
    result.item.key = QString::fromUtf8(key);
    result.item.displayName = QString::fromUtf8(name);
    result.item.status = status;
    result.item.preview = preview;
    return result;
}

/// A database and the previews of a table, as one run of a program uses them.
struct Kept
{
    Folder folder;
    TestDatabase database;
    CollectionPlace place;
    QString path;        ///< of the file, or the server's address
    QStringList reports; ///< "what|reason|remedy"
    std::unique_ptr<CollectionDatabase> file;

    explicit Kept(TestDatabase::Kind kind = TestDatabase::Kind::Sqlite) : database(kind)
    {
        place.address = database.address();
        if (!place.isShared())
            place.address.file = folder.path(QStringLiteral("data/collections/collections.sqlite"));
        path = place.address.shown();
        place.previews = folder.path(QStringLiteral("data/collections/previews"));
        restart();
    }
    /// Another run begins.
    void restart()
    {
        file.reset();
        file = table(place.previews);
    }
    /// A table on the same database, with a folder of its own for previews.
    std::unique_ptr<CollectionDatabase> table(const QString& previews)
    {
        CollectionPlace own = place;
        own.previews = previews;
        auto result = std::make_unique<CollectionDatabase>(
            own, CollectionDatabase::Settings(), [this](const QString& what, const QString& reason, const QString& remedy) {
                reports << what + QLatin1Char('|') + reason + QLatin1Char('|') + remedy;
            });
        CHECK(result->open());
        return result;
    }
    /// "key name status" of each item of a card.
    QStringList items(unsigned long code, qint64 since = 0) const { return itemsOf(*file, code, since); }
    static QStringList itemsOf(CollectionDatabase& table, unsigned long code, qint64 since = 0)
    {
        QStringList result;
        const auto read = table.items(code, since);
        REQUIRE(read);
        for (const CollectedItem& item : *read)
            result << QStringLiteral("%1 %2 %3").arg(item.key, item.displayName).arg(item.status);
        return result;
    }
    QStringList previews() const { return QDir(place.previews).entryList(QDir::Files); }
    bool apply(const std::vector<CollectionDatabase::Change>& changes, qint64 now = 1000) const
    {
        return file->apply(changes, now);
    }
};

/// Runs a test on each kind of database.
void onEach(const std::function<void(Kept& kept)>& test)
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        Kept kept(kind);
        CAPTURE(kept.database.name());
        test(kept);
    }
}
}

TEST_CASE("collection database: items come back in the order of their drops, whatever order they were stored in")
{
    onEach([](Kept& kept) {
        CHECK(kept.apply({change(Kind::Add, 7, "b-2", "two"), change(Kind::Add, 7, "b-10", "ten")}));
        CHECK(kept.apply({change(Kind::Add, 7, "b-1", "one"), change(Kind::Add, 8, "b-3", "other card")}));
        kept.restart();
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "later run", 3)}));
        CHECK(kept.items(7) == QStringList{"b-1 one 1", "b-2 two 1", "b-10 ten 1", "a-1 later run 3"});
        CHECK(kept.items(8) == QStringList{"b-3 other card 1"});
        CHECK(kept.items(9).isEmpty());
        // Also for a code above the signed numbers.
        CHECK(kept.apply({change(Kind::Add, 18446744073709551615UL, "a-2", "last")}));
        CHECK(kept.items(18446744073709551615UL) == QStringList{"a-2 last 1"});
        CHECK(kept.reports.isEmpty());
    });
}

TEST_CASE("collection database: an item that is added twice is there once, one that was removed is not updated back")
{
    onEach([](Kept& kept) {
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one"), change(Kind::Add, 7, "a-2", "two")}));
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 3)}));
        CHECK(kept.apply({change(Kind::Update, 7, "a-2", "two", 4)}));
        CHECK(kept.items(7) == QStringList{"a-1 one 3", "a-2 two 4"});
        CHECK(kept.apply({change(Kind::Remove, 7, "a-1"), change(Kind::Remove, 7, "unknown-1")}));
        CHECK(kept.apply({change(Kind::Update, 7, "a-1", "one", 1)}));
        CHECK(kept.items(7) == QStringList{"a-2 two 4"});
    });
}

TEST_CASE("collection database: a preview is copied with its item and goes with it")
{
    onEach([](Kept& kept) {
        const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture), change(Kind::Add, 7, "a-2", "two", 1, picture)}));
        REQUIRE(QFile::remove(picture));
        auto items = *kept.file->items(7, 0);
        CHECK(items[0].preview == kept.folder.path(QStringLiteral("data/collections/previews/a-1.png")));
        CHECK(kept.previews() == QStringList{"a-1.png", "a-2.png"});
        // A restored item is updated with the preview that it came back with, and one whose original has gone loses none.
        CHECK(kept.apply({change(Kind::Update, 7, "a-1", "one", 3, items[0].preview)}));
        CHECK((*kept.file->items(7, 0))[0].preview == items[0].preview);
        // A preview whose file is missing is none, but for one that a server has.
        REQUIRE(QFile::remove(items[1].preview));
        CHECK((*kept.file->items(7, 0))[1].preview.isEmpty() != kept.place.isShared());
        CHECK(kept.apply({change(Kind::Remove, 7, "a-1")}));
        CHECK(kept.previews() == (kept.place.isShared() ? QStringList{"a-2.png"} : QStringList()));
        // An item whose picture cannot be read goes without one.
        CHECK(kept.apply({change(Kind::Add, 7, "a-3", "three", 1, picture)}));
        CHECK(kept.items(7) == QStringList{"a-2 two 1", "a-3 three 1"});
        CHECK(kept.reports.isEmpty());
    });
}

TEST_CASE("collection database: an update of what another program has removed leaves no picture behind")
{
    onEach([](Kept& kept) {
        const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
        CHECK(kept.apply({change(Kind::Update, 7, "a-1", "one", 1, picture)}));
        CHECK(kept.items(7).isEmpty());
        CHECK(kept.previews().isEmpty());
    });
}

TEST_CASE("collection database: what was stored before a time is removed and not read, with its pictures")
{
    onEach([](Kept& kept) {
        const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "old", 1, picture)}, 1000));
        CHECK(kept.apply({change(Kind::Add, 7, "a-2", "new", 1, picture), change(Kind::Add, 8, "a-3", "new")}, 2000));
        // A later status does not make it younger.
        CHECK(kept.apply({change(Kind::Update, 7, "a-1", "old", 3, picture)}, 3000));
        CHECK(kept.items(7, 1001) == QStringList{"a-2 new 1"});
        CHECK(kept.items(7, 1000).size() == 2);
        CHECK(kept.file->removeBefore(1000, 3000) == 0);
        CHECK(kept.file->removeBefore(1001, 3000) == 1);
        CHECK(kept.items(7) == QStringList{"a-2 new 1"});
        CHECK(kept.previews() == QStringList{"a-2.png"});
    });
}

TEST_CASE("collection database: cards are listed with their numbers and times, and cleared one by one or all")
{
    onEach([](Kept& kept) {
        const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
        CHECK(kept.apply({change(Kind::Add, 10, "a-1", "x", 1, picture), change(Kind::Add, 9, "a-2", "y")}, 1000));
        CHECK(kept.apply({change(Kind::Add, 10, "a-3", "z"), change(Kind::Add, 11, "a-4", "z", 1, picture)}, 2000));
        const auto cards = *kept.file->cards();
        REQUIRE(cards.size() == 3);
        CHECK(cards[0].code == 9);
        CHECK(cards[1].code == 10);
        CHECK(cards[1].items == 2);
        CHECK(cards[1].first == 1000);
        CHECK(cards[1].last == 2000);
        CHECK(kept.file->clear({10, 77}, 3000) == 2);
        CHECK(kept.previews() == QStringList{"a-4.png"});
        CHECK(kept.items(9).size() == 1);
        CHECK(kept.file->clearAll(3000) == 2);
        CHECK(kept.file->cards()->empty());
        CHECK(kept.previews().isEmpty());
    });
}

TEST_CASE("collection database: all changes are written or none, and a full disk is reported with its remedy")
{
    Kept kept;
    {
        SqliteFault full = SqliteFault::fullDisk(kept.path, "DELETE", "items");
        CHECK(kept.apply({change(Kind::Add, 7, "a-0", "zero")}));
        CHECK_FALSE(kept.apply({change(Kind::Add, 7, "a-1", "one"), change(Kind::Remove, 7, "a-0")}));
        CHECK_FALSE(kept.file->clearAll(3000));
        CHECK(kept.items(7) == QStringList{"a-0 zero 1"});
        REQUIRE(kept.reports.size() == 2);
        CHECK(kept.reports[0].startsWith("write " + kept.path + "|database or disk is full"));
    }
    kept.reports.clear();
    SqliteFault lost = SqliteFault::lostTable(kept.path, "items");
    CHECK_FALSE(kept.file->items(7, 0));
    CHECK_FALSE(kept.file->cards());
    CHECK(kept.reports.size() == 2);
    CHECK(kept.reports[0].startsWith("read " + kept.path + "|no such table: items"));
}

TEST_CASE("collection database: a picture that cannot be kept keeps its item back")
{
    Kept kept;
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    const QString previews = kept.folder.path(QStringLiteral("data/collections/previews"));
    REQUIRE(QDir(previews).removeRecursively());
    CHECK_FALSE(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture)}));
    CHECK(kept.reports
          == QStringList{"write " + previews
                         + "/a-1.png|No such file or directory|free space on the disk, and let this user write there"});
    CHECK(kept.items(7).isEmpty());
}

TEST_CASE("collection database: a file that cannot be used is reported with what to do, and opens when it is mended")
{
    for (const auto kind : {SpoiltDatabase::Kind::Damaged, SpoiltDatabase::Kind::NoDatabase}) {
        CAPTURE(SpoiltDatabase::name(kind));
        const Folder folder;
        const QString path = folder.path(QStringLiteral("collections.sqlite"));
        QStringList reports;
        CollectionDatabase file(*CollectionPlace::of({}, path), {},
                                [&reports](const QString& what, const QString& reason, const QString&) {
                                    reports << what + QLatin1Char('|') + reason;
                                });
        CHECK_FALSE(file.exists());
        {
            const SpoiltDatabase spoilt(path, kind);
            CHECK(file.exists());
            CHECK_FALSE(file.open());
        }
        REQUIRE(reports.size() == 1);
        CHECK(reports[0].startsWith("open " + path + "|"));
        CHECK(reports[0].endsWith(SpoiltDatabase::remedy(kind)));
        REQUIRE(QFile::remove(path));
        CHECK(file.open());
    }
}

TEST_CASE("collection database: pictures that no item names go when the file is opened")
{
    Kept kept;
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture)}));
    for (const char* name : {"a-1.png", "b-1.png"}) {
        QFile file(kept.folder.write(QStringLiteral("data/collections/previews/") + name, "x"));
        REQUIRE(file.open(QIODevice::ReadWrite));
        REQUIRE(file.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
    }
    kept.restart();
    CHECK(kept.previews() == QStringList{"a-1.png"});
}

TEST_CASE("collection database: what one table stores, another one has, with its picture, and a removal at either is for ever")
{
    onEach([](Kept& kept) {
        const QString previews = kept.place.isShared() ? kept.folder.path(QStringLiteral("other")) : kept.place.previews;
        const auto other = kept.table(previews);
        const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture), change(Kind::Add, 7, "a-2", "two")}));
        CHECK(other->apply({change(Kind::Add, 7, "b-1", "three")}, 1000));
        CHECK(kept.items(7) == QStringList{"a-1 one 1", "a-2 two 1", "b-1 three 1"});
        CHECK(Kept::itemsOf(*other, 7) == kept.items(7));
        QFile copy((*other->items(7, 0))[0].preview);
        CHECK(copy.fileName() == previews + "/a-1.png");
        REQUIRE(copy.open(QIODevice::ReadOnly));
        CHECK(copy.readAll() == "picture");
        // An update by a table without the picture leaves it.
        CHECK(other->apply({change(Kind::Update, 7, "a-1", "one", 3)}, 1000));
        CHECK((*kept.file->items(7, 0))[0].preview == kept.place.previews + "/a-1.png");

        CHECK(other->apply({change(Kind::Remove, 7, "a-1"), change(Kind::Remove, 7, "a-3")}, 1000));
        CHECK(other->clear({8}, 1000) == 0);
        // The table that has added it tries again, after an outage, or has not even stored it yet.
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture), change(Kind::Add, 7, "a-3", "late", 1, picture)}));
        CHECK(kept.items(7) == QStringList{"a-2 two 1", "b-1 three 1"});
        CHECK(kept.apply({change(Kind::Remove, 7, "a-1")}));
        CHECK(kept.file->clearAll(1000) == 2);
        CHECK(other->apply({change(Kind::Add, 7, "b-1", "three"), change(Kind::Update, 7, "b-1", "three")}, 1000));
        CHECK(kept.items(7).isEmpty());
        CHECK(kept.reports.isEmpty());
    });
}

TEST_CASE("collection database: that an item was removed is known for thirty days")
{
    onEach([](Kept& kept) {
        constexpr qint64 kDay = 24 * 3600;
        CHECK(kept.apply({change(Kind::Remove, 7, "a-1")}, 100));
        CHECK(kept.file->removeBefore(0, 100 + 30 * kDay) == 0);
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one")}, 100));
        CHECK(kept.items(7).isEmpty());
        CHECK(kept.file->removeBefore(0, 101 + 30 * kDay) == 0);
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one")}, 100));
        CHECK(kept.items(7) == QStringList{"a-1 one 1"});
    });
}

TEST_CASE("collection database: the cards of which anything has changed are named once")
{
    onEach([](Kept& kept) {
        using Cards = std::set<unsigned long>;
        CHECK(kept.apply({change(Kind::Add, 6, "a-1", "one"), change(Kind::Add, 7, "a-2", "two")}));
        const auto other = kept.table(kept.place.previews);
        CHECK(other->changedCards() == Cards{});
        CHECK(kept.apply({change(Kind::Update, 7, "a-2", "two", 3), change(Kind::Add, 18446744073709551615UL, "a-3", "three")}));
        CHECK(kept.apply({change(Kind::Remove, 6, "a-1"), change(Kind::Update, 9, "a-9", "gone")}));
        CHECK(other->changedCards() == Cards{6, 7, 18446744073709551615UL});
        CHECK(other->changedCards() == Cards{});
        CHECK(kept.file->clearAll(1000) == 2);
        CHECK(other->changedCards() == Cards{7, 18446744073709551615UL});
        // Also what changed while it was closed.
        CHECK(kept.apply({change(Kind::Add, 5, "a-5", "five")}));
        CHECK(other->open());
        CHECK(other->changedCards() == Cards{5});
    });
}

TEST_CASE("collection database: items are claimed by one owner at a time, and by another one a minute later")
{
    onEach([](Kept& kept) {
        const QString one = QStringLiteral("one");
        const QString other = QStringLiteral("other");
        CHECK(kept.apply({change(Kind::Add, 7, "a-1"), change(Kind::Add, 7, "a-2"), change(Kind::Add, 7, "a-3")}));
        qint64 now = 1000;
        const auto claim = [&](const QStringList& keys, const QString& owner) {
            return kept.file->claim(keys, owner, now).value();
        };
        // The time of a file is that of the table, a server has its own.
        const auto pass = [&](int seconds) {
            if (kept.place.isShared())
                kept.database.execute(
                    QStringLiteral("UPDATE items SET claimed_until = claimed_until - %1 WHERE claimed_until > 0").arg(seconds));
            else
                now += seconds;
        };
        CHECK(claim({"a-1", "a-2", "a-9"}, one).keys == QStringList{"a-1", "a-2"});
        CHECK(claim({"a-1", "a-9"}, one).secondsLeft == 0);
        pass(20);
        const auto second = claim({"a-1", "a-2", "a-3"}, other);
        CHECK(second.keys == QStringList{"a-3"});
        // The server's clock goes on meanwhile.
        CHECK(second.secondsLeft <= 41);
        CHECK(second.secondsLeft > (kept.place.isShared() ? 0 : 40));
        // A claim that is repeated lasts longer, but is not written each time.
        CHECK(claim({"a-1"}, one).keys == QStringList{"a-1"});
        pass(15);
        CHECK(claim({"a-1", "a-3"}, one).keys == QStringList{"a-1"});
        pass(26);
        CHECK(claim({"a-1", "a-2"}, other).keys == QStringList{"a-2"});
        pass(35);
        CHECK(claim({"a-1"}, other).keys == QStringList{"a-1"});
        CHECK(kept.apply({change(Kind::Remove, 7, "a-1")}));
        CHECK(claim({"a-1"}, one).keys == QStringList());
        CHECK(claim({"a-1"}, one).secondsLeft == 0);
    });
}

TEST_CASE("collection database: an owner that does not send items gives up the right to its own ones only")
{
    onEach([](Kept& kept) {
        CHECK(kept.apply({change(Kind::Add, 7, "a-1"), change(Kind::Add, 7, "a-2"), change(Kind::Add, 7, "a-3")}));
        CHECK(kept.file->claim({"a-1", "a-2"}, QStringLiteral("one"), 1000)->keys.size() == 2);
        CHECK(kept.file->claim({"a-3"}, QStringLiteral("other"), 1000)->keys.size() == 1);
        CHECK(kept.file->release({"a-1", "a-3", "gone"}, QStringLiteral("one")));
        CHECK(kept.file->claim({"a-1", "a-2", "a-3"}, QStringLiteral("third"), 1001)->keys == QStringList{"a-1"});
    });
}

TEST_CASE("collection database: a claim that is repeated wakes no other table")
{
    if (!TestDatabase::hasPostgres())
        return;
    Kept kept(TestDatabase::Kind::Postgres);
    CHECK(kept.apply({change(Kind::Add, 7, "a-1")}));
    const auto claims = [&kept] { return kept.database.execute(QStringLiteral("SELECT xmin::text FROM items")).toString(); };
    CHECK(kept.file->claim({"a-1"}, QStringLiteral("one"), 0)->keys.size() == 1);
    const QString before = claims();
    CHECK(kept.file->claim({"a-1"}, QStringLiteral("one"), 0)->keys.size() == 1);
    CHECK(kept.file->claim({"a-1"}, QStringLiteral("other"), 0)->keys.isEmpty());
    CHECK(claims() == before);
}

TEST_CASE("collection database: a file of the first version is brought up to date, with what it has")
{
    const Folder folder;
    const QString path = folder.path(QStringLiteral("collections.sqlite"));
    SqliteFault::run(path,
                     QStringLiteral("CREATE TABLE items (key TEXT PRIMARY KEY, code TEXT NOT NULL, run INTEGER NOT NULL, number "
                                    "INTEGER NOT NULL, stored INTEGER NOT NULL, content TEXT NOT NULL, status INTEGER NOT NULL, "
                                    "preview TEXT NOT NULL)"));
    for (const char* index :
         {"items_of_card ON items (code, run, number)", "items_by_run ON items (run)", "items_by_time ON items (stored)"})
        SqliteFault::run(path, QStringLiteral("CREATE INDEX ") + QLatin1String(index));
    SqliteFault::run(path, QStringLiteral("INSERT INTO items VALUES ('x-1', '7', 4, 1, 1000, '{\"name\":\"one\"}', 3, '')"));
    SqliteFault::run(path, QStringLiteral("PRAGMA user_version=1"));
    QStringList reports;
    const auto open = [&] {
        return std::make_unique<CollectionDatabase>(*CollectionPlace::of({}, path), CollectionDatabase::Settings(),
                                                    [&reports](const QString& what, const QString& reason, const QString&) {
                                                        reports << what + QLatin1Char('|') + reason;
                                                    });
    };
    {
        const auto file = open();
        REQUIRE(file->open());
        CHECK(file->apply({change(Kind::Add, 7, "a-1", "two")}, 1000));
        CHECK(Kept::itemsOf(*file, 7) == QStringList{"x-1 one 3", "a-1 two 1"});
        CHECK(file->claim({"x-1"}, QStringLiteral("one"), 1000)->keys == QStringList{"x-1"});
        CHECK(file->apply({change(Kind::Remove, 7, "x-1")}, 1000));
    }
    const auto file = open();
    REQUIRE(file->open());
    CHECK(Kept::itemsOf(*file, 7) == QStringList{"a-1 two 1"});
    CHECK(reports.isEmpty());
    file->close();
    SqliteFault::run(path, QStringLiteral("PRAGMA user_version=3"));
    CHECK_FALSE(file->open());
    REQUIRE(reports.size() == 1);
    CHECK(reports[0].contains("was made by a newer version of this program"));
}

TEST_CASE("collection database: a name that leads out of the folder is no preview")
{
    Kept kept;
    kept.folder.write(QStringLiteral("data/secret.png"), "secret");
    CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one")}));
    SqliteFault::run(kept.path, QStringLiteral("UPDATE items SET preview = '../../secret.png'"));
    CHECK(kept.file->items(7, 0)->front().preview.isEmpty());
}

TEST_CASE("collection database: a table's copies of pictures go some time after another table has removed their items")
{
    onEach([](Kept& kept) {
        const auto other = kept.table(kept.place.previews);
        const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
        CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture), change(Kind::Add, 7, "a-2", "two", 1, picture)}));
        CHECK(kept.previews().size() == 2);
        if (kept.place.isShared())
            kept.database.execute(QStringLiteral("DELETE FROM items WHERE key = 'a-1'"));
        for (const QString& name : kept.previews()) {
            QFile file(kept.place.previews + QLatin1Char('/') + name);
            REQUIRE(file.open(QIODevice::ReadWrite));
            REQUIRE(file.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
        }
        CHECK(other->removeBefore(0, 1000) == 0);
        CHECK(kept.previews() == (kept.place.isShared() ? QStringList{"a-2.png"} : QStringList{"a-1.png", "a-2.png"}));
    });
}

TEST_CASE("collection database: the end of the program bounds a database that is opened after it was announced, too")
{
    if (!TestDatabase::hasPostgres())
        return;
    const Folder folder;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    PostgresProxy proxy(database.address().port);
    CollectionPlace place;
    place.address = database.address();
    place.address.port = proxy.port();
    place.previews = folder.path(QStringLiteral("previews"));
    int reports = 0;
    // Far longer than the test's own limit; as long as opening takes on this machine.
    CollectionDatabase::Settings settings;
    settings.deadline = std::chrono::hours(1);
    std::unique_ptr<CollectionDatabase> table;
    for (std::chrono::milliseconds end(200); !table; end *= 2) {
        auto opened = std::make_unique<CollectionDatabase>(
            place, settings, [&reports](const QString&, const QString&, const QString&) { ++reports; });
        opened->endWithin(end);
        if (opened->open())
            table = std::move(opened);
    }
    reports = 0;
    proxy.freeze();
    CHECK_FALSE(table->apply({change(Kind::Add, 7, "a-1")}, 1000));
    CHECK(table->wasAway());
    CHECK(reports == 1);
}
