#include "services/MarkerService.hpp"

#include "Folder.hpp"
#include "services/PeopleRegistry.hpp"

#include <Bedrock/AfterUpdateQueue.hpp>
#include <Bedrock/BGThread.hpp>
#include <Bedrock/FunctionTask.hpp>
#include <LogCapture.hpp>
#include <SqliteFault.hpp>
#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

#include <QDateTime>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

using namespace Host;

namespace
{
struct Fixture
{
    Fixture()
    {
        QString error;
        registry = PeopleRegistry::open(folder.path(QStringLiteral("people.sqlite")), error);
        REQUIRE_MESSAGE(registry, error.toStdString());
        REQUIRE(registry->insert({{1001, QStringLiteral("Ann"), QStringLiteral("ann@museum.example"), QStringLiteral("key"), 0},
                                  {1007, QString(), QString(), QString(), 3}}));
        service = std::make_shared<MarkerService>(registry, cache);
        service->fillCache();
    }
    ~Fixture()
    {
        Bedrock::BGThread::instance()->waitUntilIdle();
        Bedrock::AfterUpdateQueue::instance().clear();
    }

    /// The registry as another program has it.
    std::unique_ptr<PeopleRegistry> desk() const
    {
        QString error;
        auto result = PeopleRegistry::open(registry->path(), error);
        REQUIRE_MESSAGE(result, error.toStdString());
        return result;
    }
    /// Looks for changes, and lets what is read reach the cache. Whether anything was read.
    bool refresh() const
    {
        const bool reads = service->refreshCache();
        Bedrock::BGThread::instance()->waitUntilIdle();
        Bedrock::AfterUpdateQueue::instance().drain();
        return reads;
    }
    /// Makes the last write to the registry one of a minute ago.
    void letItSettle() const
    {
        QFile file(registry->path());
        REQUIRE(file.open(QIODevice::ReadWrite));
        REQUIRE(file.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
    }
    QString nameOf(unsigned long code) const
    {
        const auto card = cache->markerProperties(code);
        return card.personalProperties() ? card.personalProperties()->name : QStringLiteral("(none)");
    }

    /// As the plug-in does it: on another thread.
    bool registerOnAThread(unsigned long code, const QString& name, const QString& email)
    {
        bool accepted = false;
        std::thread([&] { accepted = service->registerPersonalMarker(code, name, email); }).join();
        return accepted;
    }

    Folder folder;
    std::shared_ptr<PeopleRegistry> registry;
    std::shared_ptr<Tavola::TesselServiceCache> cache = std::make_shared<Tavola::TesselServiceCache>();
    std::shared_ptr<MarkerService> service;
};

/// Keeps the background thread busy until it is let go.
class Held
{
public:
    Held()
    {
        Bedrock::BGThread::instance()->addTask(std::make_shared<Bedrock::FunctionTask>([this](Bedrock::Task& task) {
            task.setFinished();
            std::unique_lock lock(m_mutex);
            m_change.wait(lock, [this] { return m_isFree; });
        }));
    }
    ~Held() { letGo(); }
    void letGo()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isFree = true;
            m_change.notify_all();
        }
        Bedrock::BGThread::instance()->waitUntilIdle();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_isFree = false;
};

using Tavola::TesselServiceAPI;
}

TEST_CASE("marker service: the cache has every card of the registry")
{
    Fixture table;
    REQUIRE(table.cache->isCached(1001));
    const auto ann = table.cache->markerProperties(1001);
    CHECK(ann.type() == TesselServiceAPI::MarkerProperties::kPersonal);
    REQUIRE(ann.personalProperties());
    CHECK(ann.personalProperties()->name == "Ann");
    CHECK(ann.personalProperties()->email == "ann@museum.example");
    CHECK(ann.personalProperties()->contentKey == "key");
    CHECK(table.cache->markerProperties(1007).type() == TesselServiceAPI::MarkerProperties::kUnregistered);
    CHECK_FALSE(table.cache->isCached(1002));
}

TEST_CASE("marker service: a registration on another thread reaches the cache after the update, and the registry at once")
{
    Fixture table;
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QStringLiteral("bo@museum.example")));
    CHECK(table.registry->person(1007)->name == "Bo");
    CHECK(table.cache->markerProperties(1007).type() == TesselServiceAPI::MarkerProperties::kUnregistered);

    CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
    const auto bo = table.cache->markerProperties(1007);
    CHECK(bo.type() == TesselServiceAPI::MarkerProperties::kPersonal);
    REQUIRE(bo.personalProperties());
    CHECK(bo.personalProperties()->name == "Bo");
    CHECK(bo.personalProperties()->email == "bo@museum.example");
}

TEST_CASE("marker service: a card that is not in the registry is refused and changes nothing")
{
    Fixture table;
    CHECK_FALSE(table.registerOnAThread(4711, QStringLiteral("Eve"), QString()));
    CHECK(Bedrock::AfterUpdateQueue::instance().isEmpty());
    CHECK_FALSE(table.cache->isCached(4711));
    CHECK_FALSE(table.registry->person(4711));
}

TEST_CASE("marker service: one that goes with a registration on its way does no harm")
{
    Fixture table;
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QString()));
    table.service.reset();
    table.registry.reset();
    CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
    CHECK(table.cache->markerProperties(1007).personalProperties()->name == "Bo");
}

TEST_CASE("marker service: it has no personal widgets of its own and says so")
{
    Fixture table;
    const auto widget = table.service->personalWidget(1001);
    REQUIRE_FALSE(widget.has_value());
    CHECK(widget.error() == "This presentation has no folder for card 1001");
}

TEST_CASE("marker service: a card with a content key gets the widget that the presentation has for the key")
{
    Fixture table;
    QStringList asked;
    const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
    table.service->setPersonalWidgets([&](const QString& contentKey) -> MarkerService::PersonalWidget {
        asked << contentKey;
        if (asked.size() > 1)
            return boost::make_unexpected(QStringLiteral("no more"));
        return widget;
    });
    CHECK(*table.service->personalWidget(1001) == widget);
    CHECK(table.service->personalWidget(1001).error() == "no more");
    CHECK(asked == QStringList{QStringLiteral("key"), QStringLiteral("key")});
    // No widget is requested for a card without a key or for an unknown card.
    CHECK(table.service->personalWidget(1007).error() == "This presentation has no folder for card 1007");
    CHECK(table.service->personalWidget(4711).error() == "This presentation has no folder for card 4711");
    CHECK(asked.size() == 2);
}

TEST_CASE("marker service: people that are entered, changed and taken out elsewhere reach the cache")
{
    Fixture table;
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

TEST_CASE("marker service: writes that follow each other at once are all seen")
{
    Fixture table;
    const auto desk = table.desk();
    for (int i = 0; i < 20; ++i) {
        const QString name(QLatin1Char(char('a' + i))); // every time as long
        CHECK(desk->insert({{1001, name, QString(), QString(), 0}}));
        CHECK(table.refresh());
        CHECK(table.nameOf(1001) == name);
    }
}

TEST_CASE("marker service: a registry that is not written to is not read again")
{
    Fixture table;
    table.letItSettle();
    CHECK(table.refresh());
    for (int i = 0; i < 3; ++i)
        CHECK_FALSE(table.refresh());
    CHECK(table.desk()->insert({{5, QString(), QString(), QString(), 0}}));
    CHECK(table.refresh());
}

TEST_CASE("marker service: a refresh reads on the background thread, once at a time, and known cards stay known")
{
    Fixture table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    Held thread;
    CHECK(table.service->refreshCache()); // returns although the thread is held
    CHECK_FALSE(table.service->refreshCache());
    CHECK(Bedrock::AfterUpdateQueue::instance().isEmpty());
    CHECK(table.nameOf(1001) == "Ann");
    thread.letGo();
    CHECK(table.nameOf(1001) == "Ann");
    CHECK_FALSE(table.cache->isCached(2001));
    CHECK_FALSE(table.service->refreshCache()); // still on its way
    CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
    CHECK(table.nameOf(1001) == "Ann");
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("marker service: a registration is not undone by a reading that began before it")
{
    Fixture table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    CHECK(table.service->refreshCache());
    Bedrock::BGThread::instance()->waitUntilIdle(); // read, and on its way
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QString()));
    CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 2);
    CHECK(table.nameOf(1007) == "Bo");
    CHECK(table.nameOf(2001) == "Cy");
    CHECK(table.refresh());
    CHECK(table.nameOf(1007) == "Bo");
}

TEST_CASE("marker service: a registry that cannot be read leaves the cache as it is")
{
    Fixture table;
    TestSupport::SqliteFault fault = TestSupport::SqliteFault::lostTable(table.registry->path(), QStringLiteral("people"));
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to read " + table.registry->path().toStdString() + " (");
    CHECK(table.refresh());
    CHECK(table.nameOf(1001) == "Ann");
    CHECK(table.cache->isCached(1007));

    fault.mend();
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    for (int look = 0; look < MarkerService::kRefreshesSkippedAfterFailure; ++look)
        CHECK_FALSE(table.refresh());
    CHECK(table.refresh());
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("marker service: a person written before a failed reading is known after the next one that succeeds")
{
    Fixture table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    TestSupport::SqliteFault fault = TestSupport::SqliteFault::lostTable(table.registry->path(), QStringLiteral("people"));
    TestSupport::expectWarningStartingWith("PeopleRegistry # Failed to read " + table.registry->path().toStdString() + " (");
    CHECK(table.refresh());
    fault.mend();
    bool read = false;
    for (int look = 0; look <= MarkerService::kRefreshesSkippedAfterFailure; ++look)
        read = table.refresh();
    CHECK(read);
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("marker service: one that goes while the registry is read does no harm")
{
    Fixture table;
    CHECK(table.desk()->insert({{2001, QStringLiteral("Cy"), QString(), QString(), 0}}));
    Held thread;
    CHECK(table.service->refreshCache());
    table.service.reset();
    thread.letGo();
    CHECK(Bedrock::AfterUpdateQueue::instance().drain() == 1);
    CHECK(table.nameOf(2001) == "Cy");
}

TEST_CASE("marker service: a registration gives a card a new owner and keeps its content")
{
    Fixture table;
    CHECK(table.registerOnAThread(1001, QStringLiteral("Bo"), QStringLiteral("bo@museum.example")));
    CHECK(table.registerOnAThread(1001, QStringLiteral("Cy"), QString())); // the last one counts
    Bedrock::AfterUpdateQueue::instance().drain();
    const auto card = table.cache->markerProperties(1001);
    REQUIRE(card.personalProperties());
    CHECK(card.personalProperties()->name == "Cy");
    CHECK(card.personalProperties()->email.isEmpty());
    CHECK(card.personalProperties()->contentKey == "key");
}

TEST_CASE("marker service: registrations, an import at the desk and refreshes at once end with what the registry says")
{
    Fixture table;
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
        static_cast<void>(table.service->refreshCache());
        Bedrock::AfterUpdateQueue::instance().drain();
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
