#include "services/collections/CollectionService.hpp"

#include "Folder.hpp"
#include "LogCapture.hpp"
#include "SpoiltDatabase.hpp"
#include "SqliteFault.hpp"

#include <EventLoop.hpp>
#include <PostgresProxy.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <set>
#include <utility>

using namespace Host;
using Kind = CollectionService::Change::Kind;
using TestSupport::SpoiltDatabase;
using TestSupport::SqliteFault;

namespace
{
CollectionService::Change serviceChange(Kind kind, const char* key, const char* name = "", int status = 1)
{
    CollectionService::Change result{kind, 7, {}};
    result.item.key = QString::fromUtf8(key);
    result.item.displayName = QString::fromUtf8(name);
    result.item.status = status;
    return result;
}

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
    std::string told(const char* what) const
    {
        return std::string("CollectionService # Failed to ") + what + " " + path.toStdString();
    }
};
}

TEST_CASE("collection service: what is changed is on the disk, and read after the changes before")
{
    KeptByService kept;
    kept.open();
    kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
    kept.service->change(serviceChange(Kind::Add, "a-2", "two"));
    kept.service->change(serviceChange(Kind::Update, "a-1", "one", 3));
    CHECK(kept.items() == QStringList{"one 3", "two 1"});
    kept.isIn(0, false);
    kept.service->change(serviceChange(Kind::Remove, "a-1"));
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
        kept.service->change(serviceChange(Kind::Add, ("a-" + std::to_string(i)).c_str(), "one"));
    kept.service.reset();
    kept.open();
    CHECK(kept.items().size() == 50);
}

TEST_CASE("collection service: a full disk is told with its remedy, and what waited for it is written when there is space")
{
    KeptByService kept;
    kept.open();
    kept.service->change(serviceChange(Kind::Add, "a-0", "zero"));
    kept.service->change(serviceChange(Kind::Add, "a-7", "seven"));
    kept.service->waitUntilIdle();
    SqliteFault full = SqliteFault::fullDisk(kept.path, "INSERT", "items");
    TestSupport::expectWarningStartingWith(kept.told("write") + ": database or disk is full");
    kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
    kept.service->waitUntilIdle();
    kept.isIn(1, true);
    // Later changes of items that wait are one with them; the warning is not repeated.
    kept.service->change(serviceChange(Kind::Update, "a-1", "one", 3));
    kept.service->change(serviceChange(Kind::Add, "a-2", "two"));
    kept.service->change(serviceChange(Kind::Remove, "a-2"));
    kept.service->change(serviceChange(Kind::Update, "a-2", "two", 4));
    kept.service->change(serviceChange(Kind::Update, "a-0", "zero", 3));
    kept.service->change(serviceChange(Kind::Remove, "a-7"));
    kept.service->change(serviceChange(Kind::Update, "a-7", "seven", 3));
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

TEST_CASE("collection service: a file that cannot be used is told with its remedy, and used as soon as it can be")
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
            TestSupport::expectWarningStartingWith(kept.told("open"));
            // A lock is waited for as long.
            kept.open(0, isLocked ? std::chrono::milliseconds(20) : CollectionDatabase::Settings().deadline);
            kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
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
    KeptByService kept;
    kept.path = kept.folder.path(QStringLiteral("data/collections/collections.sqlite"));
    kept.open();
    kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
    kept.service->waitUntilIdle();
    REQUIRE(QDir(kept.folder.path()).rename(QStringLiteral("data"), QStringLiteral("away")));
    kept.service->change(serviceChange(Kind::Add, "a-2", "two"));
    CHECK(kept.items() == QStringList{"two 1"});
    kept.isIn(0, false);
}

TEST_CASE("collection service: a folder that is moved away is made anew for what is read, too")
{
    KeptByService kept;
    kept.path = kept.folder.path(QStringLiteral("data/collections/collections.sqlite"));
    kept.open();
    kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
    kept.service->waitUntilIdle();
    REQUIRE(QDir(kept.folder.path()).rename(QStringLiteral("data"), QStringLiteral("away")));
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
    TestSupport::expectWarningStartingWith(kept.told("open"));
    TestSupport::expectWarningStartingWith("CollectionService # Failed to write " + unwritten.toStdString()
                                           + ": Is a directory (free space on the disk");
    kept.open(0, std::chrono::milliseconds(20));
    kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
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
    kept.service->change(serviceChange(Kind::Add, "a-1", "one"));
    kept.service->waitUntilIdle();
    const QString picture = kept.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    {
        kept.service.reset();
        const SpoiltDatabase locked(kept.path, SpoiltDatabase::Kind::Locked);
        TestSupport::expectWarningStartingWith(kept.told("open"));
        kept.open(0, std::chrono::milliseconds(20));
        auto second = serviceChange(Kind::Add, "a-3", "three");
        second.item.preview = picture;
        kept.service->change(second);
        kept.service->change(serviceChange(Kind::Add, "a-2", "two"));
        kept.service->change(serviceChange(Kind::Update, "a-1", "one", 3));
        kept.service->waitUntilIdle();
        kept.isIn(3, true);
        kept.service.reset();
        REQUIRE(QFile::remove(picture)); // with the table's temporary files
        // Another start, which cannot write it, either.
        TestSupport::expectWarningStartingWith(kept.told("open"));
        kept.open(0, std::chrono::milliseconds(20));
        kept.service->change(serviceChange(Kind::Add, "b-1", "four"));
        kept.service->change(serviceChange(Kind::Remove, "a-2"));
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
    kept.service->change(serviceChange(Kind::Add, "0-1", "five"));
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
        auto first = serviceChange(Kind::Add, "a-1", "one");
        first.item.preview = picture;
        kept.service->change(first);
        kept.service->change(serviceChange(Kind::Add, "a-2", "two"));
        kept.service->change(serviceChange(Kind::Update, "a-1", "one", 3));
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
    kept.service->change(serviceChange(Kind::Add, "a-1", "old"));
    kept.service->waitUntilIdle();
    kept.now += 600;
    kept.service->change(serviceChange(Kind::Add, "a-2", "new"));
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

namespace
{
/// A table of a venue whose tables share a database, behind a proxy where there is a server.
struct SharingTable
{
    /// `deadline`: longer than any statement takes on a busy machine, but where the server is to be given up.
    explicit SharingTable(const Storage::Address& address, std::chrono::milliseconds deadline = std::chrono::minutes(1))
    {
        restart(address, deadline);
    }
    void restart(const Storage::Address& address, std::chrono::milliseconds deadline = std::chrono::minutes(1))
    {
        service.reset();
        CollectionPlace place;
        place.address = address;
        place.previews = folder.path(QStringLiteral("previews"));
        service = std::make_unique<CollectionService>(place, CollectionSettings(), CollectionService::Watch::Others,
                                                      CollectionService::Clock(), deadline);
    }
    QStringList names() const
    {
        // Shared: the service's thread may still be inside of set_value() when this one goes on.
        const auto result = std::make_shared<std::promise<QStringList>>();
        service->read(7, [result](const std::optional<std::vector<CollectedItem>>& items) {
            QStringList names;
            for (const CollectedItem& item : items.value_or(std::vector<CollectedItem>()))
                names << item.displayName;
            result->set_value(items ? names : QStringList{"unreadable"});
        });
        return result->get_future().get();
    }
    /// Returns after everything that was asked before has been tried: the second reading is of a later turn.
    void finishTurn() const
    {
        (void)names();
        (void)names();
    }
    std::future<QStringList> claim(const QStringList& keys, const char* owner) const
    {
        const auto result = std::make_shared<std::promise<QStringList>>();
        service->claim(keys, QString::fromUtf8(owner), [result](const std::optional<QStringList>& claimed) {
            result->set_value(claimed.value_or(QStringList{"not asked"}));
        });
        return result->get_future();
    }
    std::future<std::set<unsigned long>> nextChange() const
    {
        const auto promise = std::make_shared<std::promise<std::set<unsigned long>>>();
        service->awaitChange([promise](const std::set<unsigned long>& codes) { promise->set_value(codes); });
        return promise->get_future();
    }

    Folder folder;
    std::unique_ptr<CollectionService> service;
};
}

TEST_CASE("collection service: what another table changes is reported once, with its cards")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const TestDatabase database(kind);
        CAPTURE(database.name());
        const SharingTable one(database.address());
        const SharingTable other(database.address());
        CHECK(one.names().isEmpty());
        auto changed = one.nextChange();
        CHECK(other.names().isEmpty()); // both are there
        other.service->change(serviceChange(Kind::Add, "a-1", "one"));
        CHECK(changed.get() == std::set<unsigned long>{7});
        CHECK(one.names() == QStringList{"one"});
        // What changes while nothing is asked is reported when it is.
        other.service->change(serviceChange(Kind::Remove, "a-1"));
        CHECK(TestSupport::pumpUntil([&one] { return one.names().isEmpty(); }));
        CHECK(one.nextChange().get() == std::set<unsigned long>{7});
    }
}

TEST_CASE("collection service: a card that could not be read is reported as soon as it may be readable again")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const SharingTable one(database.address());
    CHECK(one.names().isEmpty());
    TestSupport::expectWarningStartingWith("CollectionService # Failed to read " + database.address().file.toStdString());
    SqliteFault lost = SqliteFault::lostTable(database.address().file, "items");
    CHECK(one.names() == QStringList{"unreadable"});
    auto changed = one.nextChange();
    lost.mend(); // a change by another program
    CHECK(changed.get() == std::set<unsigned long>{7});
    CHECK(one.names().isEmpty());
}

TEST_CASE("collection service: an item is sent by the table that claims it first, and a second claim waits for it")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const TestDatabase database(kind);
        const SharingTable one(database.address());
        const SharingTable other(database.address());
        one.service->change(serviceChange(Kind::Add, "a-1", "one"));
        one.service->change(serviceChange(Kind::Add, "a-2", "two"));
        CHECK(one.claim({"a-1"}, "one").get() == QStringList{"a-1"});
        CHECK(one.claim({"a-1"}, "one").get() == QStringList{"a-1"});
        // What is free is the second one's at once, which answers when the rest is certain.
        auto second = other.claim({"a-1", "a-2"}, "other");
        other.finishTurn();
        auto third = one.claim({"a-2"}, "one");
        one.finishTurn();
        CHECK(second.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        CHECK(third.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        one.service->change(serviceChange(Kind::Remove, "a-1"));
        CHECK(second.get() == QStringList{"a-2"});
        other.service->change(serviceChange(Kind::Remove, "a-2"));
        CHECK(third.get().isEmpty());
    }
}

TEST_CASE("collection service: what a table does not send after all is another one's as soon as it is given up")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const TestDatabase database(kind);
        CAPTURE(database.name());
        const SharingTable one(database.address());
        const SharingTable other(database.address());
        one.service->change(serviceChange(Kind::Add, "a-1", "one"));
        CHECK(one.claim({"a-1"}, "one").get() == QStringList{"a-1"});
        auto second = other.claim({"a-1"}, "other");
        other.finishTurn();
        CHECK(second.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        one.service->release({"a-1"}, QStringLiteral("one"));
        CHECK(second.get() == QStringList{"a-1"});
    }
}

TEST_CASE("collection service: what a table had claimed that does not send it is another one's when the claim is over")
{
    for (const TestDatabase::Kind kind : TestDatabase::kinds()) {
        const TestDatabase database(kind);
        CAPTURE(database.name());
        const SharingTable other(database.address());
        {
            const SharingTable killed(database.address());
            killed.service->change(serviceChange(Kind::Add, "a-1", "one"));
            CHECK(killed.claim({"a-1"}, "killed").get() == QStringList{"a-1"});
        }
        auto second = other.claim({"a-1"}, "other");
        other.finishTurn();
        CHECK(second.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        database.execute(QStringLiteral("UPDATE items SET claimed_until = 0"));
        // Any reason to ask for anything is one to ask for it.
        CHECK(other.names().size() == 1);
        CHECK(second.get() == QStringList{"a-1"});
    }
}

TEST_CASE(
    "collection service: what is collected while the server hangs is stored after it, and what others did meanwhile reported")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    PostgresProxy proxy(database.address().port);
    Storage::Address address = database.address();
    address.port = proxy.port();
    const SharingTable other(database.address());
    CHECK(other.names().isEmpty()); // the tables are made
    const SharingTable one(address, std::chrono::milliseconds(1500));
    CHECK(one.names().isEmpty());
    auto changed = one.nextChange();
    TestSupport::expectWarningStartingWith("CollectionService # Failed to write " + address.shown().toStdString() + ": ");
    proxy.freeze();
    one.service->change(serviceChange(Kind::Add, "a-1", "one"));
    CHECK(TestSupport::pumpUntil([&one] { return one.service->state().value(QLatin1String("failed")).toBool(); }));
    other.service->change(serviceChange(Kind::Add, "b-1", "two"));
    CHECK(other.names() == QStringList{"two"});
    proxy.thaw();
    CHECK(changed.get() == std::set<unsigned long>{7});
    CHECK(TestSupport::pumpUntil([&] { return other.names().size() == 2; }));
    CHECK(one.names().size() == 2);
}

TEST_CASE("collection service: a table closes soon while its server hangs, and its next start has what was collected")
{
    if (!TestDatabase::hasPostgres())
        return;
    const TestDatabase database(TestDatabase::Kind::Postgres);
    PostgresProxy proxy(database.address().port);
    Storage::Address address = database.address();
    address.port = proxy.port();
    // Far longer than the test's own limit.
    SharingTable one(address, std::chrono::hours(1));
    CHECK(one.names().isEmpty());
    const QString picture = one.folder.write(QStringLiteral("tmp/shot.png"), "picture");
    proxy.freeze();
    TestSupport::expectWarningStartingWith("CollectionService # Failed to write " + address.shown().toStdString() + ": ");
    auto change = serviceChange(Kind::Add, "a-1", "one");
    change.item.preview = picture;
    one.service->change(change);
    one.service->endWithin(std::chrono::milliseconds(50));
    one.service.reset();
    proxy.thaw();
    REQUIRE(QFile::remove(picture));
    one.restart(database.address());
    CHECK(one.names() == QStringList{"one"});
    // The others have its picture, too.
    const SharingTable other(database.address());
    const auto result = std::make_shared<std::promise<QString>>();
    other.service->read(7, [result](const std::optional<std::vector<CollectedItem>>& items) {
        result->set_value(items && items->size() == 1 ? items->front().preview : QString());
    });
    QFile copy(result->get_future().get());
    REQUIRE(copy.open(QIODevice::ReadOnly));
    CHECK(copy.readAll() == "picture");
}
