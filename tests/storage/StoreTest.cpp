#include "Boats.hpp"

#include <Patience.hpp>
#include <TestDatabase.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

using namespace Storage;
using Kind = Store::Kind;

namespace
{
/// Keeps the thread of a store busy until it is released.
struct Gate
{
    std::promise<void> isIn;
    std::promise<void> isOpen;

    explicit Gate(Store& store)
    {
        store.post(
            Kind::Read,
            [this, isFirst = true](Transaction&) mutable {
                if (std::exchange(isFirst, false))
                    isIn.set_value();
                isOpen.get_future().wait();
                return true;
            },
            [](const Store::Outcome&) {});
        isIn.get_future().wait();
    }
    void open() { isOpen.set_value(); }
};

/// The outcomes of posted jobs, in the order in which they came.
struct Outcomes
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> seen;

    Store::Done note(const std::string& name)
    {
        return [this, name](const Store::Outcome& outcome) {
            const std::lock_guard<std::mutex> guard(mutex);
            seen.push_back(name + (!outcome ? " failed" : *outcome ? " done" : " undone"));
            changed.notify_all();
        };
    }
    std::vector<std::string> wait(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        CHECK(changed.wait_for(lock, TestSupport::kPatience, [&] { return seen.size() >= count; }));
        return seen;
    }
};

/// The events of a store.
struct Events
{
    std::mutex mutex;
    std::condition_variable changed;
    int changes = 0;
    int outages = 0;

    Store::Settings settings()
    {
        Store::Settings result;
        result.onEvent = [this](Store::Event event) {
            const std::lock_guard<std::mutex> guard(mutex);
            ++(event == Store::Event::Changed ? changes : outages);
            changed.notify_all();
        };
        return result;
    }
    int count()
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return changes;
    }
    bool waitForChanges(int count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, TestSupport::kPatience, [&] { return changes >= count; });
    }
};

/// A job that puts a boat in, and rolls that back where it is not wanted.
Store::Job adding(const char* boat, bool isWanted = true)
{
    return [boat, isWanted](Transaction& transaction) { return addBoat(transaction, boat) && isWanted; };
}

Schema longerBoats()
{
    Schema schema = boats();
    schema.statements.push_back({2, "ALTER TABLE boat ADD COLUMN colour TEXT NOT NULL DEFAULT 'red'"});
    schema.statements.push_back({2, "UPDATE boat SET length = length + 1"});
    return schema;
}
}

TEST_CASE("store: what was committed is there for the next store")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        {
            const auto store = database.store(boats());
            CHECK(store->run(Kind::Write, adding("Ahti")) == true);
            CHECK(store->run(Kind::Write, adding("Ilma")) == true);
        }
        CHECK(allBoats(*database.store(boats())) == "Ahti Ilma");
    });
}

TEST_CASE("store: a job that does not want its work is rolled back")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        CHECK(store->run(Kind::Write, adding("Ahti", false)) == false);
        CHECK(allBoats(*store).isEmpty());
    });
}

TEST_CASE("store: jobs that wait together are one transaction, and one that fails leaves the others in peace")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        Outcomes outcomes;
        std::atomic<int> callsOfFirst{0};
        Gate gate(*store);
        store->post(
            Kind::Write,
            [&callsOfFirst](Transaction& transaction) {
                ++callsOfFirst;
                return addBoat(transaction, "Ahti");
            },
            outcomes.note("first"));
        store->post(Kind::Write, adding("Ahti"), outcomes.note("twin"));
        store->post(Kind::Write, adding("Otso", false), outcomes.note("unwanted"));
        store->post(Kind::Write, adding("Ilma"), outcomes.note("last"));
        gate.open();
        CHECK(outcomes.wait(4) == std::vector<std::string>{"first done", "twin failed", "unwanted undone", "last done"});
        CHECK(callsOfFirst == 2); // with the others, and alone
        CHECK(allBoats(*store) == "Ahti Ilma");
    });
}

TEST_CASE("store: jobs come about in the order in which they were posted, reading ones as well")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        Outcomes outcomes;
        int seen = -1;
        Gate gate(*store);
        store->post(Kind::Write, adding("Ahti"), outcomes.note("1"));
        store->post(
            Kind::Read,
            [&seen](Transaction& transaction) {
                return transaction.run(QStringLiteral("SELECT count(*) FROM boat"), {},
                                       [&seen](const QSqlQuery& row) { seen = row.value(0).toInt(); });
            },
            outcomes.note("2"));
        store->post(Kind::Write, adding("Ilma"), outcomes.note("3"));
        gate.open();
        CHECK(outcomes.wait(3) == std::vector<std::string>{"1 done", "2 done", "3 done"});
        CHECK(seen == 1);
    });
}

TEST_CASE("store: jobs of both kinds that wait together keep their order, also when one of them fails")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        Outcomes outcomes;
        QString seen;
        const auto look = [&seen](Transaction& transaction) {
            seen.clear();
            return transaction.run(QStringLiteral("SELECT name FROM boat ORDER BY name"), {},
                                   [&seen](const QSqlQuery& row) { seen += row.value(0).toString() + QLatin1Char(' '); });
        };
        Gate gate(*store);
        store->post(Kind::Read, look, outcomes.note("first look"));
        store->post(Kind::Write, adding("Ahti", false), outcomes.note("bad"));
        store->post(Kind::Write, adding("Ilma"), outcomes.note("good"));
        store->post(Kind::Read, look, outcomes.note("look"));
        gate.open();
        CHECK(outcomes.wait(4) == std::vector<std::string>{"first look done", "bad undone", "good done", "look done"});
        CHECK(seen == "Ilma ");
    });
}

TEST_CASE("store: what a writing job reads stays true while others write")
{
    constexpr int kStores = 3;
    constexpr int kEach = 20;
    TestDatabase::onEach([&](const TestDatabase& database) {
        Store::Settings patient;
        patient.deadline = TestSupport::kPatience;
        const auto first = database.store(boats(), patient);
        CHECK(first->run(Kind::Write, [](Transaction& transaction) { return addBoat(transaction, "Ahti", 0); }) == true);
        const auto grow = [&] {
            const auto store = database.store(boats(), patient);
            for (int i = 0; i < kEach; ++i) {
                const auto outcome = store->run(Kind::Write, [](Transaction& transaction) {
                    int length = 0;
                    transaction.run(QStringLiteral("SELECT length FROM boat"), {},
                                    [&length](const QSqlQuery& row) { length = row.value(0).toInt(); });
                    return transaction.run(QStringLiteral("UPDATE boat SET length = ?"), {length + 1});
                });
                CHECK(outcome == true);
            }
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < kStores; ++i)
            threads.emplace_back(grow);
        for (std::thread& thread : threads)
            thread.join();
        CHECK(database.execute(QStringLiteral("SELECT length FROM boat")).toInt() == kStores * kEach);
    });
}

TEST_CASE("store: tables of an older version get what they lack, once, and keep what they have")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        CHECK(database.store(boats())->run(Kind::Write, [](Transaction& t) { return addBoat(t, "Ahti", 6); }) == true);
        for (int i = 0; i < 2; ++i) {
            CHECK(allBoats(*database.store(longerBoats())) == "Ahti");
            CHECK(database.execute(QStringLiteral("SELECT length FROM boat")).toInt() == 7);
            CHECK(database.execute(QStringLiteral("SELECT colour FROM boat")).toString() == "red");
        }
    });
}

TEST_CASE("store: a database of a newer version is refused and left as it was")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        (void)database.store(longerBoats());
        const QString refusal = database.refusal(boats());
        CHECK(refusal.contains(database.address().shown()));
        CHECK(refusal.endsWith(QLatin1String(" was made by a newer version of this program; use that one")));
        CHECK(allBoats(*database.store(longerBoats())).isEmpty());
    });
}

TEST_CASE("store: a change of the tables that fails changes nothing")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        (void)database.store(boats());
        Schema broken = boats();
        broken.statements.push_back({2, "CREATE TABLE pier (name TEXT)"});
        broken.statements.push_back({2, "CREATE TABLE pier (name TEXT)"});
        CHECK(database.refusal(broken).contains(QLatin1String("pier")));
        CHECK(allBoats(*database.store(boats())).isEmpty()); // it is still of the first version
    });
}

TEST_CASE("store: several that begin on one new database at once make its tables once")
{
    constexpr int kStores = 4;
    TestDatabase::onEach([&](const TestDatabase& database) {
        Store::Settings patient;
        patient.deadline = TestSupport::kPatience;
        std::atomic<int> opened{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < kStores; ++i)
            threads.emplace_back([&] { opened += Store::open(database.address(), longerBoats(), patient) ? 1 : 0; });
        for (std::thread& thread : threads)
            thread.join();
        CHECK(opened == kStores);
    });
}

TEST_CASE("store: a change by another store is an event, its own changes are none")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        Events events;
        const auto store = database.store(boats(), events.settings());
        const auto other = database.store(boats());
        CHECK(store->run(Kind::Write, adding("Ahti")) == true);
        // What the server has sent is read before the next job.
        CHECK(allBoats(*store) == "Ahti");
        CHECK(events.count() == 0);
        CHECK(other->run(Kind::Write, adding("Ilma")) == true);
        CHECK(events.waitForChanges(1));
        CHECK(allBoats(*store) == "Ahti Ilma");
        CHECK(other->run(Kind::Write, adding("Otso")) == true);
        CHECK(events.waitForChanges(2));
        const std::lock_guard<std::mutex> guard(events.mutex);
        CHECK(events.changes == 2);
        CHECK(events.outages == 0);
    });
}

TEST_CASE("store: a job that reads sees one state, whatever others write meanwhile")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        const auto store = database.store(boats());
        const auto other = database.store(boats());
        std::vector<int> counts;
        const auto count = [&counts](Transaction& transaction) {
            return transaction.run(QStringLiteral("SELECT count(*) FROM boat"), {},
                                   [&counts](const QSqlQuery& row) { counts.push_back(row.value(0).toInt()); });
        };
        CHECK(store->run(Kind::Read, [&](Transaction& reading) {
            counts.clear();
            return count(reading) && other->run(Kind::Write, adding("Ahti")) == true && count(reading);
        }) == true);
        CHECK(counts == std::vector<int>{0, 0});
        CHECK(allBoats(*store) == "Ahti");
    });
}

TEST_CASE("store: a job that may write but changes nothing is no event for other stores")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        Events events;
        const auto store = database.store(boats(), events.settings());
        const auto other = database.store(boats());
        CHECK(other->run(Kind::Write, [](Transaction&) { return true; }) == true);
        // What the server has sent is read before the next job.
        CHECK(allBoats(*store).isEmpty());
        CHECK(allBoats(*store).isEmpty());
        CHECK(events.count() == 0);
    });
}

TEST_CASE("store: what any of the jobs of one transaction changes is an event for other stores")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        Events events;
        const auto store = database.store(boats(), events.settings());
        const auto other = database.store(boats());
        Outcomes outcomes;
        Gate gate(*other);
        other->post(Kind::Write, adding("Ahti"), outcomes.note("changes"));
        other->post(
            Kind::Write, [](Transaction&) { return true; }, outcomes.note("changes nothing"));
        gate.open();
        CHECK(outcomes.wait(2).size() == 2);
        CHECK(events.waitForChanges(1));
    });
}

TEST_CASE("store: a change by another store is noticed although its own jobs never end")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        Events events;
        std::atomic<bool> isOver{false};
        std::function<void()> again;
        auto store = database.store(boats(), events.settings());
        again = [&] {
            store->post(
                Kind::Read, [](Transaction&) { return true; },
                [&](const Store::Outcome&) {
                    if (!isOver)
                        again();
                });
        };
        again();
        CHECK(database.store(boats())->run(Kind::Write, adding("Ahti")) == true);
        CHECK(events.waitForChanges(1));
        isOver = true;
        CHECK(allBoats(*store) == "Ahti"); // behind the last one of the others
    });
}

TEST_CASE("store: a file goes on although its program is about to end")
{
    const TestDatabase database(TestDatabase::Kind::Sqlite);
    const auto store = database.store(boats());
    store->endWithin(std::chrono::milliseconds(0));
    CHECK(store->run(Kind::Write, adding("Ahti")) == true);
    CHECK(allBoats(*store) == "Ahti");
}

TEST_CASE("store: its end runs what was posted")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        Outcomes outcomes;
        auto store = database.store(boats());
        {
            Gate gate(*store);
            for (const char* name : {"Ahti", "Ilma", "Otso"})
                store->post(Kind::Write, adding(name), outcomes.note(name));
            gate.open();
            store.reset();
        }
        CHECK(outcomes.wait(3) == std::vector<std::string>{"Ahti done", "Ilma done", "Otso done"});
        CHECK(allBoats(*database.store(boats())) == "Ahti Ilma Otso");
    });
}

TEST_CASE("store: a job that waits beyond its deadline is given up, and does nothing later")
{
    TestDatabase::onEach([](const TestDatabase& database) {
        Store::Settings hasty;
        hasty.deadline = std::chrono::milliseconds(0);
        const auto store = database.store(boats(), hasty);
        bool isCalled = false;
        const auto outcome = store->run(Kind::Write, [&isCalled](Transaction&) { return isCalled = true; });
        REQUIRE_FALSE(outcome);
        CHECK(outcome.error().kind == Failure::Kind::Away);
        CHECK(outcome.error().reason == "it did not answer in time");
        CHECK_FALSE(isCalled);
    });
}
