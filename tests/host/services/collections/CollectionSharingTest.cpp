// Tables that share what cards collect: CollectionService and CollectionDatabase on one database.

#include "CollectionChange.hpp"
#include "Folder.hpp"
#include "LogCapture.hpp"
#include "SqliteFault.hpp"

#include <EventLoop.hpp>
#include <PostgresProxy.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <chrono>
#include <future>
#include <memory>
#include <set>

using namespace Host;
using Kind = CollectionService::Change::Kind;
using TestSupport::SqliteFault;

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
    void change(Kind kind, const char* key, const char* name = "") const { service->change(collectionChange(kind, key, name)); }
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

TEST_CASE("collections of several tables: what another table changes is reported once, with its cards")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const SharingTable one(database.address());
        const SharingTable other(database.address());
        CHECK(one.names().isEmpty());
        auto changed = one.nextChange();
        CHECK(other.names().isEmpty()); // both are there
        other.change(Kind::Add, "a-1", "one");
        CHECK(changed.get() == std::set<unsigned long>{7});
        CHECK(one.names() == QStringList{"one"});
        // What changes while nothing is asked is reported when it is.
        other.change(Kind::Remove, "a-1");
        CHECK(TestSupport::pumpUntil([&one] { return one.names().isEmpty(); }));
        CHECK(one.nextChange().get() == std::set<unsigned long>{7});
    });
}

TEST_CASE("collections of several tables: a card that could not be read is reported as soon as it may be readable again")
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

TEST_CASE("collections of several tables: an item is sent by the table that claims it first, and a second claim waits for it")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const SharingTable one(database.address());
        const SharingTable other(database.address());
        one.change(Kind::Add, "a-1", "one");
        one.change(Kind::Add, "a-2", "two");
        CHECK(one.claim({"a-1"}, "one").get() == QStringList{"a-1"});
        CHECK(one.claim({"a-1"}, "one").get() == QStringList{"a-1"});
        // What is free is the second one's at once, which answers when the rest is certain.
        auto second = other.claim({"a-1", "a-2"}, "other");
        other.finishTurn();
        auto third = one.claim({"a-2"}, "one");
        one.finishTurn();
        CHECK(second.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        CHECK(third.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        one.change(Kind::Remove, "a-1");
        CHECK(second.get() == QStringList{"a-2"});
        other.change(Kind::Remove, "a-2");
        CHECK(third.get().isEmpty());
    });
}

TEST_CASE("collections of several tables: what a table does not send after all is another one's as soon as it is given up")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const SharingTable one(database.address());
        const SharingTable other(database.address());
        one.change(Kind::Add, "a-1", "one");
        CHECK(one.claim({"a-1"}, "one").get() == QStringList{"a-1"});
        auto second = other.claim({"a-1"}, "other");
        other.finishTurn();
        CHECK(second.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        one.service->release({"a-1"}, QStringLiteral("one"));
        CHECK(second.get() == QStringList{"a-1"});
    });
}

TEST_CASE("collections of several tables: what a table had claimed that does not send it is another one's when the claim is over")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const SharingTable other(database.address());
        {
            const SharingTable killed(database.address());
            killed.change(Kind::Add, "a-1", "one");
            CHECK(killed.claim({"a-1"}, "killed").get() == QStringList{"a-1"});
        }
        auto second = other.claim({"a-1"}, "other");
        other.finishTurn();
        CHECK(second.wait_for(std::chrono::seconds(0)) == std::future_status::timeout);
        database.execute(QStringLiteral("UPDATE items SET claimed_until = 0"));
        // Any reason to ask for anything is one to ask for it.
        CHECK(other.names().size() == 1);
        CHECK(second.get() == QStringList{"a-1"});
    });
}

TEST_CASE("collections of several tables: what is collected while the server hangs is stored after it, and what others did "
          "meanwhile reported")
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
    one.change(Kind::Add, "a-1", "one");
    CHECK(TestSupport::pumpUntil([&one] { return one.service->state().value(QLatin1String("failed")).toBool(); }));
    other.change(Kind::Add, "b-1", "two");
    CHECK(other.names() == QStringList{"two"});
    proxy.thaw();
    CHECK(changed.get() == std::set<unsigned long>{7});
    CHECK(TestSupport::pumpUntil([&] { return other.names().size() == 2; }));
    CHECK(one.names().size() == 2);
}

TEST_CASE("collections of several tables: a table closes soon while its server hangs, and its next start has what was collected")
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
    auto change = collectionChange(Kind::Add, "a-1", "one");
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
