#include "services/PeopleWatch.hpp"

#include "PeopleTable.hpp"
#include "ReplaySession.hpp"
#include "services/ServiceStates.hpp"

#include <LogCapture.hpp>
#include <SqliteFault.hpp>

#include <atomic>
#include <future>

using Bedrock::Inbox;
using Host::PeopleWatch;
using Host::Person;

namespace
{
struct Table : PeopleTable
{
    /// Reads the registry if it has changed, into the cache. Whether it was read.
    bool refresh() const
    {
        const bool reads = watch->check();
        watch->waitUntilIdle();
        bringIn();
        return reads;
    }

    std::unique_ptr<PeopleWatch> watch = std::make_unique<PeopleWatch>(registry, service);
};

/// Keeps the reader waiting until it goes.
class Held
{
public:
    explicit Held(Host::MarkerService& service)
        : m_thread([this, &service] {
              service.inOrder([this] {
                  m_entered.set_value();
                  m_left.get_future().wait();
              });
          })
    {
        m_entered.get_future().wait();
    }
    ~Held() { letGo(); }
    void letGo()
    {
        if (!m_thread.joinable())
            return;
        m_left.set_value();
        m_thread.join();
    }

private:
    std::promise<void> m_entered;
    std::promise<void> m_left;
    std::thread m_thread;
};
}

TEST_CASE("people watch: people that are entered, changed and taken out elsewhere reach the cache")
{
    Table table;
    const auto desk = table.desk();
    CHECK(desk->insert(
        {{2001, QStringLiteral("Cy"), QString(), QString(), 0}, {1007, QStringLiteral("Di"), QString(), QString(), 0}}));
    CHECK_FALSE(table.cache->isCached(2001));
    CHECK(table.refresh());
    CHECK(table.nameOf(2001) == "Cy");
    CHECK(table.nameOf(1007) == "Di");
    CHECK(table.nameOf(1001) == "Ann");

    std::optional<unsigned long> unknown;
    CHECK(desk->remove({1001}, unknown));
    CHECK(table.cache->isCached(1001));
    CHECK(table.refresh());
    CHECK_FALSE(table.cache->isCached(1001));
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("people watch: writes that follow each other at once are all seen")
{
    Table table;
    const auto desk = table.desk();
    for (int i = 0; i < 20; ++i) {
        const QString name(QLatin1Char(char('a' + i))); // every time as long
        CHECK(desk->insert({{1001, name, QString(), QString(), 0}}));
        CHECK(table.refresh());
        CHECK(table.nameOf(1001) == name);
    }
}

TEST_CASE("people watch: a registry that is not written to is not read again")
{
    Table table;
    table.letItSettle();
    CHECK(table.refresh());
    for (int i = 0; i < 3; ++i)
        CHECK_FALSE(table.refresh());
    CHECK(table.desk()->insert({{5, QString(), QString(), QString(), 0}}));
    CHECK(table.refresh());
}

TEST_CASE("people watch: reads on a thread of its own, once at a time, and known cards stay known")
{
    Table table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    Held reader(*table.service);
    CHECK(table.watch->check()); // returns although the reader is held
    CHECK_FALSE(table.watch->check());
    CHECK(Bedrock::AfterUpdateQueue::instance().isEmpty());
    CHECK(table.nameOf(1001) == "Ann");
    reader.letGo();
    table.watch->waitUntilIdle();
    CHECK(table.nameOf(1001) == "Ann");
    CHECK_FALSE(table.cache->isCached(2001));
    CHECK_FALSE(table.watch->check()); // still on its way
    CHECK(Table::bringIn() == 1);
    CHECK(table.nameOf(1001) == "Ann");
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("people watch: a registration is not undone by a reading that began before it")
{
    Table table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    CHECK(table.watch->check());
    table.watch->waitUntilIdle(); // read, and on its way
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QString()));
    CHECK(Table::bringIn() == 2);
    CHECK(table.nameOf(1007) == "Bo");
    CHECK(table.nameOf(2001) == "Cy");
    CHECK(table.refresh());
    CHECK(table.nameOf(1007) == "Bo");
}

TEST_CASE("people watch: a registry that cannot be read leaves the cache as it is")
{
    Table table;
    TestSupport::SqliteFault fault = TestSupport::SqliteFault::lostTable(table.registry->path(), QStringLiteral("people"));
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to read " + table.registry->path().toStdString() + " (");
    CHECK(table.refresh());
    CHECK(table.nameOf(1001) == "Ann");
    CHECK(table.cache->isCached(1007));

    fault.mend();
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    for (int i = 0; i < PeopleWatch::kChecksSkippedAfterFailure; ++i)
        CHECK_FALSE(table.refresh());
    CHECK(table.refresh());
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("people watch: the state shows that people are away until the registry can be read again")
{
    PeopleTable table;
    const auto states = std::make_shared<Host::ServiceStates>();
    PeopleWatch watch(table.registry, table.service, {}, states);
    const auto refresh = [&] {
        (void)watch.check();
        watch.waitUntilIdle();
        PeopleTable::bringIn();
        return states->is(Host::ServiceState::PeopleAway);
    };
    TestSupport::SqliteFault fault = TestSupport::SqliteFault::lostTable(table.registry->path(), QStringLiteral("people"));
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to read " + table.registry->path().toStdString() + " (");
    CHECK(refresh());
    fault.mend();
    for (int i = 0; i < PeopleWatch::kChecksSkippedAfterFailure; ++i)
        CHECK(refresh());
    CHECK_FALSE(refresh());
}

TEST_CASE("people watch: people written before a reading that failed are known after one that does not")
{
    Table table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    TestSupport::SqliteFault fault = TestSupport::SqliteFault::lostTable(table.registry->path(), QStringLiteral("people"));
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to read " + table.registry->path().toStdString() + " (");
    CHECK(table.refresh());
    fault.mend();
    bool read = false;
    for (int i = 0; i <= PeopleWatch::kChecksSkippedAfterFailure; ++i)
        read = table.refresh();
    CHECK(read);
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("people watch: a service that goes while the registry is read does no harm")
{
    Table table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    Held reader(*table.service);
    CHECK(table.watch->check());
    table.service.reset();
    reader.letGo();
    table.watch->waitUntilIdle();
    CHECK(Table::bringIn() == 1);
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("people watch: registrations, an import at the desk and readings at once end with what the registry says")
{
    Table table;
    std::vector<Person> crowd;
    for (unsigned long code = 1000; code < 1100; ++code)
        crowd.push_back({code, QStringLiteral("Imported"), QString(), QString(), 3});
    REQUIRE(table.registry->insert(crowd));
    REQUIRE(table.refresh());

    constexpr int kRounds = 15;
    std::atomic<int> failures{0};
    std::atomic<int> running{3};
    const auto registerSome = [&](unsigned long first) {
        for (int i = 0; i < kRounds; ++i)
            if (!table.service->registerPersonalMarker(first + unsigned(i), QStringLiteral("Owner"), QString()))
                ++failures;
        --running;
    };
    std::thread one(registerSome, 1000);
    std::thread two(registerSome, 1005); // some cards are the other's, too
    std::thread desk([&] {
        const auto other = table.desk();
        for (int i = 0; i < kRounds; ++i)
            if (!other->insert(crowd))
                ++failures;
        --running;
    });
    long unknownMoments = 0;
    while (running > 0) {
        static_cast<void>(table.watch->check());
        Table::bringIn();
        for (const Person& person : crowd)
            unknownMoments += table.cache->isCached(person.code) ? 0 : 1;
        std::this_thread::yield();
    }
    one.join();
    two.join();
    desk.join();
    CHECK(failures == 0);
    CHECK(unknownMoments == 0);
    table.refresh(); // the one that may be under way
    table.refresh();
    const auto people = table.registry->people();
    REQUIRE(people);
    REQUIRE(people->size() == crowd.size());
    int different = 0;
    for (const Person& person : *people)
        different += table.nameOf(person.code) == person.name ? 0 : 1;
    CHECK(different == 0);
}

TEST_CASE("people watch: people who are registered at a desk enter through the inbox, and come from a source in the same frame")
{
    ReplaySession session;
    {
        Table table;
        // Twice, because each answer asks anew.
        for (const unsigned long code : {2002ul, 2003ul}) {
            REQUIRE(table.desk()->insert({{code, QStringLiteral("Bob"), QString(), QString(), 0}}));
            CHECK(table.watch->check());
            table.watch->waitUntilIdle();
            CHECK_FALSE(table.cache->isCached(code));
            CHECK(Table::bringIn() == 1);
            CHECK(table.nameOf(code) == QStringLiteral("Bob"));
            CHECK(table.nameOf(1001) == QStringLiteral("Ann"));
        }
    }
    REQUIRE(session.recorded.size() == 2);

    session.replay();
    PeopleTable replayed;
    {
        PeopleWatch watch(replayed.registry, replayed.service,
                          [&](const std::vector<Person>& people) { replayed.registry->insert(people); });
        REQUIRE(replayed.desk()->insert({{3003, QStringLiteral("Eve"), QString(), QString(), 0}}));
        CHECK_FALSE(watch.check()); // whatever the registry of this machine says
        CHECK(session.frame({session.recorded[0]}) == 1);
        CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
        CHECK(replayed.nameOf(2002) == QStringLiteral("Bob"));
        CHECK_FALSE(replayed.cache->isCached(2003));
        CHECK(session.frame({session.recorded[1]}) == 1);
        CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
        CHECK(replayed.nameOf(2003) == QStringLiteral("Bob"));
        CHECK_FALSE(replayed.cache->isCached(3003));
        // A registration at the table looks there.
        CHECK(replayed.registry->person(2003));
    }
    CHECK(session.missing == 0);
}

TEST_CASE("people watch: what was read has no effect when the watch is gone")
{
    Table table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    CHECK(table.watch->check());
    table.watch.reset();
    Table::bringIn();
    CHECK_FALSE(table.cache->isCached(2001));
    CHECK(Inbox::instance().openJobs() == 0);
}
