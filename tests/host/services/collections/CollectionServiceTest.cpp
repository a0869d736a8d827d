#include "CollectionChange.hpp"
#include "Folder.hpp"
#include "LogCapture.hpp"
#include "SpoiltDatabase.hpp"
#include "SqliteFault.hpp"

#include <EventLoop.hpp>

#include <doctest/doctest.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <atomic>
#include <chrono>
#include <memory>

using namespace Host;
using Kind = CollectionService::Change::Kind;
using TestSupport::SpoiltDatabase;
using TestSupport::SqliteFault;

namespace
{
struct KeptByService
{
    Folder folder;
    QString path = folder.path(QStringLiteral("collections.sqlite"));
    std::atomic<qint64> now{100000};
    std::unique_ptr<CollectionService> service;

    void open(qint64 keepSeconds = 0, std::chrono::milliseconds deadline = CollectionDatabase::Settings().deadline)
    {
        service = std::make_unique<CollectionService>(
            *CollectionPlace::of({}, path), CollectionSettings{keepSeconds}, CollectionService::Watch::No,
            [this] { return now.load(); }, deadline);
    }
    void change(Kind kind, const char* key, const char* name = "", int status = 1) const
    {
        service->change(collectionChange(kind, key, name, status));
    }
    /// "name status" of each item of card 7, or "unreadable".
    QStringList items() const
    {
        QStringList result;
        service->read(7, [&result](const std::optional<std::vector<CollectedItem>>& items) {
            if (!items)
                result << QStringLiteral("unreadable");
            else
                for (const CollectedItem& item : *items)
                    result << QStringLiteral("%1 %2").arg(item.displayName).arg(item.status);
        });
        service->waitUntilIdle();
        return result;
    }
    void isIn(int waiting, bool failed) const
    {
        CHECK(service->state().value(QLatin1String("waiting")).toInt() == waiting);
        CHECK(service->state().value(QLatin1String("failed")).toBool() == failed);
    }
    std::string warning(const char* what) const
    {
        return std::string("CollectionService # Failed to ") + what + " " + path.toStdString();
    }
};

/// One whose folder was moved away after the item "one" was stored.
struct KeptInMovedFolder : KeptByService
{
    KeptInMovedFolder()
    {
        path = folder.path(QStringLiteral("data/collections/collections.sqlite"));
        open();
        change(Kind::Add, "a-1", "one");
        service->waitUntilIdle();
        REQUIRE(QDir(folder.path()).rename(QStringLiteral("data"), QStringLiteral("away")));
    }
};
}

TEST_CASE("collection service: what is changed is on the disk, and read after the changes before")
{
    KeptByService kept;
    kept.open();
    kept.change(Kind::Add, "a-1", "one");
    kept.change(Kind::Add, "a-2", "two");
    kept.change(Kind::Update, "a-1", "one", 3);
    CHECK(kept.items() == QStringList{"one 3", "two 1"});
    kept.isIn(0, false);
    kept.change(Kind::Remove, "a-1");
    CHECK(kept.items() == QStringList{"two 1"});
    kept.service.reset();
    kept.open();
    CHECK(kept.items() == QStringList{"two 1"});
}

TEST_CASE("collection service: what waits when the table closes is written then")
{
    KeptByService kept;
    kept.open();
    for (int i = 1; i <= 50; ++i)
        kept.change(Kind::Add, ("a-" + std::to_string(i)).c_str(), "one");
    kept.service.reset();
    kept.open();
    CHECK(kept.items().size() == 50);
}

TEST_CASE("collection service: a full disk is reported with its remedy, and what waited for it is written when there is space")
{
    KeptByService kept;
    kept.open();
    kept.change(Kind::Add, "a-0", "zero");
    kept.change(Kind::Add, "a-7", "seven");
    kept.service->waitUntilIdle();
    SqliteFault full = SqliteFault::fullDisk(kept.path, "INSERT", "items");
    TestSupport::expectWarningStartingWith(kept.warning("write") + ": database or disk is full");
    kept.change(Kind::Add, "a-1", "one");
    kept.service->waitUntilIdle();
    kept.isIn(1, true);
    // Later changes of items that wait are one with them; the warning is not repeated.
    kept.change(Kind::Update, "a-1", "one", 3);
    kept.change(Kind::Add, "a-2", "two");
    kept.change(Kind::Remove, "a-2");
    kept.change(Kind::Update, "a-2", "two", 4);
    kept.change(Kind::Update, "a-0", "zero", 3);
    kept.change(Kind::Remove, "a-7");
    kept.change(Kind::Update, "a-7", "seven", 3);
    kept.service->waitUntilIdle();
    kept.isIn(4, true);
    // What is stored can be read all the same, with what waits.
    CHECK(kept.items() == QStringList{"zero 3", "one 3"});
    // What could not be stored is this table's alone, and can be sent.
    QStringList claimed;
    kept.service->claim({"a-0", "a-1", "a-9"}, QStringLiteral("one"),
                        [&claimed](const std::optional<QStringList>& keys) { claimed = keys.value(); });
    kept.service->waitUntilIdle();
    CHECK(claimed == QStringList{"a-0", "a-1"});
    full.mend();
    kept.service->retry();
    kept.service->waitUntilIdle();
    kept.isIn(0, false);
    CHECK(kept.items() == QStringList{"zero 3", "one 3"});
}

TEST_CASE("collection service: a file that cannot be used is reported with its remedy, and used as soon as it can be")
{
    for (const auto kind : TestSupport::kSpoiltKinds) {
        CAPTURE(SpoiltDatabase::name(kind));
        // A thread of its own would keep the rights that the test gives up.
        if (kind == SpoiltDatabase::Kind::ReadOnlyFile || kind == SpoiltDatabase::Kind::ReadOnlyFolder)
            continue;
        const bool isLocked = kind == SpoiltDatabase::Kind::Locked;
        KeptByService kept;
        {
            const SpoiltDatabase spoilt(kept.path, kind);
            TestSupport::expectWarningStartingWith(kept.warning("open"));
            // A lock is waited for as long.
            kept.open(0, isLocked ? std::chrono::milliseconds(20) : CollectionDatabase::Settings().deadline);
            kept.change(Kind::Add, "a-1", "one");
            CHECK(kept.items() == QStringList{"unreadable"});
            kept.isIn(1, true);
            if (isLocked)
                kept.service.reset();
        }
        // What is used again may take longer on a busy machine.
        if (isLocked)
            kept.open();
        else
            REQUIRE(QFile::remove(kept.path));
        kept.service->retry();
        CHECK(kept.items() == QStringList{"one 1"});
        kept.isIn(0, false);
    }
}

TEST_CASE("collection service: a folder that is moved away is made anew, and what is collected is stored in it")
{
    KeptInMovedFolder kept;
    kept.change(Kind::Add, "a-2", "two");
    CHECK(kept.items() == QStringList{"two 1"});
    kept.isIn(0, false);
}

TEST_CASE("collection service: a folder that is moved away is made anew for what is read, too")
{
    KeptInMovedFolder kept;
    CHECK(kept.items() == QStringList{"unreadable"});
    kept.service->retry();
    CHECK(kept.items().isEmpty());
    kept.isIn(0, false);
}

TEST_CASE("collection service: what could not be brought to the table's disk is with each attempt to write it to the database")
{
    KeptByService kept;
    const QString unwritten = kept.folder.path(QStringLiteral("unwritten"));
    REQUIRE(QDir().mkdir(unwritten));
    const SpoiltDatabase locked(kept.path, SpoiltDatabase::Kind::Locked);
    TestSupport::expectWarningStartingWith(kept.warning("open"));
    TestSupport::expectWarningStartingWith("CollectionService # Failed to write " + unwritten.toStdString()
                                           + ": Is a directory (free space on the disk");
    kept.open(0, std::chrono::milliseconds(20));
    kept.change(Kind::Add, "a-1", "one");
    kept.service->waitUntilIdle();
    kept.isIn(1, true);
    REQUIRE(QDir().rmdir(unwritten));
    kept.service->retry();
    kept.service->waitUntilIdle();
    QFile file(unwritten);
    REQUIRE(file.open(QIODevice::ReadOnly));
    CHECK(file.readAll().count('\n') == 1);
    kept.service.reset();
}

TEST_CASE("collection service: what could not be written when the table closed is written at its next start, in order")
{
    KeptByService kept;
    kept.open();
    kept.change(Kind::Add, "a-1", "one");
    kept.service->waitUntilIdle();
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    {
        kept.service.reset();
        const SpoiltDatabase locked(kept.path, SpoiltDatabase::Kind::Locked);
        TestSupport::expectWarningStartingWith(kept.warning("open"));
        kept.open(0, std::chrono::milliseconds(20));
        auto second = collectionChange(Kind::Add, "a-3", "three");
        second.item.preview = picture;
        kept.service->change(second);
        kept.change(Kind::Add, "a-2", "two");
        kept.change(Kind::Update, "a-1", "one", 3);
        kept.service->waitUntilIdle();
        kept.isIn(3, true);
        kept.service.reset();
        REQUIRE(QFile::remove(picture)); // with the table's temporary files
        // Another start, which cannot write it, either.
        TestSupport::expectWarningStartingWith(kept.warning("open"));
        kept.open(0, std::chrono::milliseconds(20));
        kept.change(Kind::Add, "b-1", "four");
        kept.change(Kind::Remove, "a-2");
        kept.service->waitUntilIdle();
        kept.isIn(5, true);
        kept.service.reset();
    }
    // Pictures that belong to nothing go after an hour; this one belongs to what waits.
    for (const QFileInfo& info : QDir(kept.folder.path(QStringLiteral("previews"))).entryInfoList(QDir::Files)) {
        QFile file(info.absoluteFilePath());
        REQUIRE(file.open(QIODevice::ReadWrite));
        REQUIRE(file.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
    }
    kept.open();
    kept.change(Kind::Add, "0-1", "five");
    CHECK(kept.items() == QStringList{"one 3", "three 1", "four 1", "five 1"});
    kept.isIn(0, false);
    kept.service->read(7, [](const std::optional<std::vector<CollectedItem>>& items) {
        REQUIRE(items);
        QFile copy(items->at(1).preview);
        CHECK(copy.open(QIODevice::ReadOnly));
        CHECK(copy.readAll() == "picture");
    });
    kept.service->waitUntilIdle();
    kept.service.reset();
    kept.open();
    CHECK(kept.items() == QStringList{"one 3", "three 1", "four 1", "five 1"});
}

TEST_CASE("collection service: what is collected is on the table's own disk while the database does not answer")
{
    KeptByService kept;
    const Folder killed;
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    {
        const SpoiltDatabase locked(kept.path, SpoiltDatabase::Kind::Locked);
        kept.open(0, std::chrono::hours(1));
        auto first = collectionChange(Kind::Add, "a-1", "one");
        first.item.preview = picture;
        kept.service->change(first);
        kept.change(Kind::Add, "a-2", "two");
        kept.change(Kind::Update, "a-1", "one", 3);
        // What a kill leaves at that moment is copied.
        const QString unwritten = kept.folder.path(QStringLiteral("unwritten"));
        CHECK(TestSupport::pumpUntil([&unwritten] {
            QFile file(unwritten);
            return file.open(QIODevice::ReadOnly) && file.readAll().count('\n') == 3;
        }));
        // Two changes of one item are one.
        CHECK(TestSupport::pumpUntil([&kept] { return kept.service->state().value(QLatin1String("waiting")).toInt() == 2; }));
        REQUIRE(QFile::copy(unwritten, killed.path(QStringLiteral("unwritten"))));
    }
    CHECK(kept.items() == QStringList{"one 3", "two 1"});
    kept.isIn(0, false);
    CHECK(QFileInfo(kept.folder.path(QStringLiteral("unwritten"))).size() == 0);
    kept.path = killed.path(QStringLiteral("collections.sqlite"));
    kept.open();
    CHECK(kept.items() == QStringList{"one 3", "two 1"});
    CHECK(QFileInfo(killed.path(QStringLiteral("unwritten"))).size() == 0);
    kept.service.reset();
    CHECK_FALSE(QFileInfo::exists(killed.path(QStringLiteral("unwritten"))));
}

TEST_CASE("collection service: what is older than the settings allow is not read, and removed when the table opens")
{
    KeptByService kept;
    kept.open(1000);
    kept.change(Kind::Add, "a-1", "old");
    kept.service->waitUntilIdle();
    kept.now += 600;
    kept.change(Kind::Add, "a-2", "new");
    CHECK(kept.items() == QStringList{"old 1", "new 1"});
    kept.now += 401;
    CHECK(kept.items() == QStringList{"new 1"});
    kept.service.reset();
    kept.open(1000);
    CHECK(kept.items() == QStringList{"new 1"});
    kept.service.reset();
    // It is gone for a table that keeps for ever, too; what that one stores stays.
    kept.open(0);
    kept.now += 1000000000;
    CHECK(kept.items() == QStringList{"new 1"});
    kept.service.reset();
    kept.open(0);
    CHECK(kept.items() == QStringList{"new 1"});
}
