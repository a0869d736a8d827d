#include "services/collections/InboxCollections.hpp"

#include "Folder.hpp"
#include "LogCapture.hpp"
#include "SqliteFault.hpp"
#include "TestHost.hpp"
#include "services/ReplaySession.hpp"
#include "services/collections/CollectionService.hpp"

#include <Bedrock/Inbox.hpp>
#include <EventLoop.hpp>
#include <Tavola/CollectedFiles.hpp>

#include <doctest/doctest.h>

using namespace Host;

namespace
{
CollectedItem item(const QString& key, const char* name, const QString& file = QString())
{
    CollectedItem result;
    result.key = key;
    result.displayName = QString::fromUtf8(name);
    result.file = file;
    result.status = 1;
    return result;
}

/// "key name" of each item.
std::string told(const folly::Future<std::vector<CollectedItem>>& future)
{
    return outcomeOf(future, [](const std::vector<CollectedItem>& items) {
        QStringList lines;
        for (const CollectedItem& one : items)
            lines << one.key + QLatin1Char(' ') + one.displayName;
        return lines.join(QLatin1String(", ")).toStdString();
    });
}

/// A store in a folder of its own, in one run of the program after the other.
struct Stored
{
    Folder folder;
    QString path = folder.path(QStringLiteral("collections.sqlite"));
    std::shared_ptr<CollectionService> service;
    std::unique_ptr<InboxCollections> store;
    CollectionService::Watch watch;

    /// With Watch::Others a fault in the file is noticed, and logged, at any moment.
    explicit Stored(CollectionService::Watch others = CollectionService::Watch::No) : watch(others) { restart(); }
    void restart()
    {
        store.reset();
        service.reset();
        service = std::make_shared<CollectionService>(*CollectionPlace::of({}, path), CollectionSettings(), watch);
        store = std::make_unique<InboxCollections>(service, InboxCollections::Sharing::Shared);
    }
    /// What the store has for a card, as the next frame takes it.
    folly::Future<std::vector<CollectedItem>> read(unsigned long code = 7) const
    {
        auto future = store->items(code);
        service->waitUntilIdle();
        CHECK_FALSE(future.isReady());
        CHECK(Bedrock::Inbox::instance().deliver() == 1);
        CHECK(future.isReady());
        return future;
    }
};
}

TEST_CASE("inbox collections: this run's items have numbers as keys, those of other runs names that stay")
{
    Stored stored;
    const QString first = stored.store->makeKey();
    const QString second = stored.store->makeKey();
    const QString lasting = stored.store->lastingKey(first);
    CHECK(stored.store->lastingKey(lasting) == lasting);
    CHECK(first == "1");
    CHECK(second == "2");
    stored.store->add(7, item(second, "two"));
    stored.store->add(7, item(first, "one"));
    CHECK(told(stored.read()) == "1 one, 2 two");
    stored.store->update(7, item(first, "One"));
    CHECK(told(stored.read()) == "1 One, 2 two");

    stored.restart();
    stored.store->add(7, item(stored.store->makeKey(), "three"));
    const auto items = stored.read().value();
    REQUIRE(items.size() == 3);
    CHECK(items[0].key.endsWith("-1"));
    CHECK(items[0].key.size() == 18);
    CHECK(items[2].key == "1");
    stored.store->update(7, item(items[1].key, "Two"));
    stored.store->remove(7, items[0].key);
    CHECK(told(stored.read()) == items[1].key.toStdString() + " Two, 1 three");
    CHECK(stored.read(8).value().empty());
}

TEST_CASE("inbox collections: a replay has the answers of the day and changes nothing")
{
    ReplaySession session;
    Stored stored;
    stored.store->add(7, item(stored.store->makeKey(), "one"));
    (void)stored.read();
    session.replay();
    InboxCollections replayed(nullptr);
    const QString key = replayed.makeKey();
    CHECK(key == "1");
    replayed.add(7, item(key, "one"));
    replayed.update(7, item(key, "two"));
    replayed.remove(7, key);
    const auto future = replayed.items(7);
    CHECK(session.frame(session.recorded) == 1);
    CHECK(told(future) == "1 one");
    CHECK(session.missing == 0);
}

TEST_CASE("inbox collections: a store that cannot be read fails the future")
{
    Stored stored;
    CHECK(stored.read().value().empty());
    const TestSupport::SqliteFault lost = TestSupport::SqliteFault::lostTable(stored.path, "items");
    TestSupport::expectWarningStartingWith("CollectionService # Failed to read " + stored.path.toStdString()
                                           + ": no such table: items");
    CHECK(told(stored.read()) == "failure: The store of collections could not be read");
}

TEST_CASE("inbox collections: the files of what comes back are known for uploads")
{
    const TestSupport::TestHost host;
    Stored stored;
    stored.store->add(7, item(stored.store->makeKey(), "one", QStringLiteral("/museum/moon.png")));
    stored.store->add(7, item(stored.store->makeKey(), "two"));
    auto& files = Tavola::Tavola::instance()->part<Tavola::CollectedFiles>();
    CHECK(files.path(QStringLiteral("moon.png")).isEmpty());
    (void)stored.read();
    CHECK(files.path(QStringLiteral("moon.png")) == "/museum/moon.png");
    CHECK(files.path(QString()).isEmpty());
}

TEST_CASE("inbox collections: an answer that does not come any more is a failure")
{
    folly::Future<std::vector<CollectedItem>> future = folly::makeFuture(std::vector<CollectedItem>());
    InboxCollections store(nullptr);
    {
        ReplaySession session;
        session.replay();
        future = store.items(7);
        CHECK_FALSE(future.isReady());
    }
    // The source is gone, and with it the open job.
    CHECK(told(future).rfind("failure: Broken promise", 0) == 0);
}

TEST_CASE("inbox collections: what another table changes reaches the card's watch in a frame, again and again")
{
    Stored stored(CollectionService::Watch::Others);
    CHECK(told(stored.read()).empty());
    const auto other = std::make_unique<CollectionService>(*CollectionPlace::of({}, stored.path), CollectionSettings(),
                                                           CollectionService::Watch::No);
    int calls = 0;
    stored.store->watch(7, [&calls] { calls = 1000; }); // replaced
    stored.store->watch(7, [&calls] { ++calls; });
    stored.store->watch(8, [] { FAIL("of another card"); });
    for (int expected = 1; expected <= 2; ++expected) {
        CollectionService::Change change{CollectionService::Change::Kind::Add, 7, item(QStringLiteral("x-1"), "one")};
        change.item.status = expected;
        other->change(change);
        CHECK(TestSupport::pumpUntil([&] {
            (void)Bedrock::Inbox::instance().deliver();
            return calls == expected;
        }));
    }
    stored.store.reset();
    Bedrock::Inbox::instance().clear();
}

TEST_CASE("inbox collections: a store of one table watches nothing")
{
    Stored stored;
    const int before = Bedrock::Inbox::instance().openJobs();
    InboxCollections own(stored.service);
    CHECK_FALSE(own.isShared());
    CHECK(stored.store->isShared());
    own.watch(7, [] {});
    CHECK(Bedrock::Inbox::instance().openJobs() == before);
}

TEST_CASE("inbox collections: a claim has the keys that the table knows, and fails where the store does")
{
    Stored stored;
    stored.store->add(7, item(stored.store->makeKey(), "one"));
    stored.store->add(7, item(stored.store->makeKey(), "two"));
    stored.store->remove(7, QStringLiteral("2"));
    const auto claimed = [&stored](const QList<QString>& keys) {
        const auto future = stored.store->claim(keys);
        stored.service->waitUntilIdle();
        CHECK(Bedrock::Inbox::instance().deliver() == 1);
        return outcomeOf(future,
                         [](const QList<QString>& known) { return QStringList(known).join(QLatin1Char(' ')).toStdString(); });
    };
    CHECK(claimed({"1", "2", "x-1"}) == "1");
    CHECK(claimed({"2"}).empty());
    stored.restart();
    const QString key = stored.read().value().front().key;
    // The run before has it, for a minute.
    const auto waiting = stored.store->claim({key});
    stored.service->waitUntilIdle();
    CHECK(Bedrock::Inbox::instance().deliver() == 0);
    TestSupport::SqliteFault::run(stored.path, QStringLiteral("UPDATE items SET claimed_until = 0"));
    const auto read = stored.store->items(7);
    stored.service->waitUntilIdle();
    CHECK(Bedrock::Inbox::instance().deliver() == 2);
    CHECK(read.isReady());
    CHECK(waiting.value() == QList<QString>{key});
    const TestSupport::SqliteFault lost = TestSupport::SqliteFault::lostTable(stored.path, "items");
    TestSupport::expectWarningStartingWith("CollectionService # Failed to write " + stored.path.toStdString());
    CHECK(claimed({key}) == "failure: The store of collections could not be asked");
}

TEST_CASE("inbox collections: what a table does not send after all is another one's at once")
{
    Stored stored;
    stored.store->add(7, item(stored.store->makeKey(), "one"));
    const auto own = stored.store->claim({"1"});
    stored.service->waitUntilIdle();
    CHECK(Bedrock::Inbox::instance().deliver() == 1);
    CHECK(own.value() == QList<QString>{"1"});
    stored.restart();
    const QString key = stored.read().value().front().key;
    const auto waiting = stored.store->claim({key});
    stored.store->release({key}); // has no right to it
    stored.service->waitUntilIdle();
    CHECK(Bedrock::Inbox::instance().deliver() == 0);
    TestSupport::SqliteFault::run(stored.path, QStringLiteral("UPDATE items SET claimed_until = 0"));
    stored.store->release({key});
    stored.service->waitUntilIdle();
    CHECK(Bedrock::Inbox::instance().deliver() == 1);
    CHECK(waiting.value() == QList<QString>{key});
    QStringList others;
    stored.service->claim({key}, QStringLiteral("other"), [&others](const std::optional<QStringList>& keys) { others = *keys; });
    stored.service->waitUntilIdle();
    CHECK(others.isEmpty());
    stored.store->release({key});
    stored.service->waitUntilIdle();
    CHECK(others == QStringList{key});
    InboxCollections(nullptr).release({key}); // as in a replay
}

TEST_CASE("inbox collections: a replay has the changes of other tables and the claims of the day")
{
    ReplaySession session;
    Stored stored(CollectionService::Watch::Others);
    int calls = 0;
    stored.store->watch(7, [&calls] { ++calls; });
    CollectionService other(*CollectionPlace::of({}, stored.path), CollectionSettings(), CollectionService::Watch::No);
    CHECK(told(stored.read()).empty()); // the store is open
    other.change({CollectionService::Change::Kind::Add, 7, item(QStringLiteral("x-1"), "one")});
    CHECK(TestSupport::pumpUntil([&] {
        (void)Bedrock::Inbox::instance().deliver();
        return calls == 1;
    }));
    const auto claimed = stored.store->claim({"x-1"});
    stored.service->waitUntilIdle();
    CHECK(Bedrock::Inbox::instance().deliver() == 1);
    CHECK(claimed.value() == QList<QString>{"x-1"});
    REQUIRE(session.recorded.size() == 3);

    session.replay();
    InboxCollections replayed(nullptr, InboxCollections::Sharing::Shared);
    replayed.watch(7, [&calls] { ++calls; });
    const auto items = replayed.items(7);
    CHECK(session.frame({session.recorded[0], session.recorded[1]}) == 2);
    CHECK(calls == 2);
    const auto again = replayed.claim({"x-1"});
    CHECK(session.frame({session.recorded[2]}) == 1);
    CHECK(again.value() == QList<QString>{"x-1"});
    CHECK(session.missing == 0);
}
