#include "services/collections/CollectionFile.hpp"

#include "Folder.hpp"
#include "SpoiltDatabase.hpp"
#include "SqliteFault.hpp"

#include <doctest/doctest.h>

#include <QDateTime>
#include <QDir>

using namespace Host;
using Kind = CollectionFile::Change::Kind;
using TestSupport::SpoiltDatabase;
using TestSupport::SqliteFault;

namespace
{
CollectionFile::Change change(Kind kind, unsigned long code, const char* key, const char* name = "", int status = 1,
                              const QString& preview = QString())
{
    CollectionFile::Change result{kind, code, {}};
    result.item.key = QString::fromUtf8(key);
    result.item.displayName = QString::fromUtf8(name);
    result.item.status = status;
    result.item.preview = preview;
    return result;
}

/// A file in a folder of its own, as one run of a program uses it.
struct Kept
{
    Folder folder;
    QString path = folder.path(QStringLiteral("data/collections/collections.sqlite"));
    QStringList reports; ///< "what|reason|remedy"
    std::unique_ptr<CollectionFile> file;

    Kept() { restart(); }
    /// Another run begins.
    void restart()
    {
        file = std::make_unique<CollectionFile>(path, [this](const QString& what, const QString& reason, const QString& remedy) {
            reports << what + QLatin1Char('|') + reason + QLatin1Char('|') + remedy;
        });
        CHECK(file->open());
    }
    /// "key name status" of each item of a card.
    QStringList items(unsigned long code, qint64 since = 0) const
    {
        QStringList result;
        const auto read = file->items(code, since);
        REQUIRE(read);
        for (const CollectedItem& item : *read)
            result << QStringLiteral("%1 %2 %3").arg(item.key, item.displayName).arg(item.status);
        return result;
    }
    QStringList previews() const { return QDir(folder.path(QStringLiteral("data/collections/previews"))).entryList(QDir::Files); }
    bool apply(const std::vector<CollectionFile::Change>& changes, qint64 now = 1000) const { return file->apply(changes, now); }
};
}

TEST_CASE("collection file: items come back in the order of their drops, whatever order they were stored in")
{
    Kept kept;
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
}

TEST_CASE("collection file: an item that is added twice is there once, one that was removed is not updated back")
{
    Kept kept;
    CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one"), change(Kind::Add, 7, "a-2", "two")}));
    CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 3)}));
    CHECK(kept.apply({change(Kind::Update, 7, "a-2", "two", 4)}));
    CHECK(kept.items(7) == QStringList{"a-1 one 3", "a-2 two 4"});
    CHECK(kept.apply({change(Kind::Remove, 7, "a-1"), change(Kind::Remove, 7, "unknown-1")}));
    CHECK(kept.apply({change(Kind::Update, 7, "a-1", "one", 1)}));
    CHECK(kept.items(7) == QStringList{"a-2 two 4"});
}

TEST_CASE("collection file: a preview is copied with its item and goes with it")
{
    Kept kept;
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    CHECK(kept.apply({change(Kind::Add, 7, "a-1", "one", 1, picture), change(Kind::Add, 7, "a-2", "two", 1, picture)}));
    REQUIRE(QFile::remove(picture));
    auto items = *kept.file->items(7, 0);
    CHECK(items[0].preview == kept.folder.path(QStringLiteral("data/collections/previews/a-1.png")));
    CHECK(kept.previews() == QStringList{"a-1.png", "a-2.png"});
    // A restored item is updated with the preview that it came back with, and one whose original has gone loses none.
    CHECK(kept.apply({change(Kind::Update, 7, "a-1", "one", 3, items[0].preview)}));
    CHECK((*kept.file->items(7, 0))[0].preview == items[0].preview);
    // A preview whose file is missing is none.
    REQUIRE(QFile::remove(items[1].preview));
    CHECK((*kept.file->items(7, 0))[1].preview.isEmpty());
    CHECK(kept.apply({change(Kind::Remove, 7, "a-1")}));
    CHECK(kept.previews().isEmpty());
    // An item whose picture cannot be read goes without one.
    CHECK(kept.apply({change(Kind::Add, 7, "a-3", "three", 1, picture)}));
    CHECK(kept.items(7) == QStringList{"a-2 two 1", "a-3 three 1"});
    CHECK(kept.reports.isEmpty());
}

TEST_CASE("collection file: an update of what another program has removed leaves no picture behind")
{
    Kept kept;
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    CHECK(kept.apply({change(Kind::Update, 7, "a-1", "one", 1, picture)}));
    CHECK(kept.items(7).isEmpty());
    CHECK(kept.previews().isEmpty());
}

TEST_CASE("collection file: what was stored before a time is removed and not read, with its pictures")
{
    Kept kept;
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    CHECK(kept.apply({change(Kind::Add, 7, "a-1", "old", 1, picture)}, 1000));
    CHECK(kept.apply({change(Kind::Add, 7, "a-2", "new", 1, picture), change(Kind::Add, 8, "a-3", "new")}, 2000));
    // A later status does not make it younger.
    CHECK(kept.apply({change(Kind::Update, 7, "a-1", "old", 3, picture)}, 3000));
    CHECK(kept.items(7, 1001) == QStringList{"a-2 new 1"});
    CHECK(kept.items(7, 1000).size() == 2);
    CHECK(kept.file->removeBefore(1000) == 0);
    CHECK(kept.file->removeBefore(1001) == 1);
    CHECK(kept.items(7) == QStringList{"a-2 new 1"});
    CHECK(kept.previews() == QStringList{"a-2.png"});
}

TEST_CASE("collection file: cards are listed with their numbers and times, and cleared one by one or all")
{
    Kept kept;
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
    CHECK(kept.file->clear({10, 77}) == 2);
    CHECK(kept.previews() == QStringList{"a-4.png"});
    CHECK(kept.items(9).size() == 1);
    CHECK(kept.file->clearAll() == 2);
    CHECK(kept.file->cards()->empty());
    CHECK(kept.previews().isEmpty());
}

TEST_CASE("collection file: all changes are written or none, and a full disk is reported with its remedy")
{
    Kept kept;
    {
        SqliteFault full = SqliteFault::fullDisk(kept.path, "DELETE", "items");
        CHECK(kept.apply({change(Kind::Add, 7, "a-0", "zero")}));
        CHECK_FALSE(kept.apply({change(Kind::Add, 7, "a-1", "one"), change(Kind::Remove, 7, "a-0")}));
        CHECK_FALSE(kept.file->clearAll());
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

TEST_CASE("collection file: a picture that cannot be kept keeps its item back")
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

TEST_CASE("collection file: a file that cannot be used is reported with what to do, and opens when it is mended")
{
    for (const auto kind : {SpoiltDatabase::Kind::Damaged, SpoiltDatabase::Kind::NoDatabase}) {
        CAPTURE(SpoiltDatabase::name(kind));
        const Folder folder;
        const QString path = folder.path(QStringLiteral("collections.sqlite"));
        QStringList reports;
        CollectionFile file(path, [&reports](const QString& what, const QString& reason, const QString&) {
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

TEST_CASE("collection file: pictures that no item names go when the file is opened")
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
