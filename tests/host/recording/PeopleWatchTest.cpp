#include "recording/PeopleWatch.hpp"

#include "Folder.hpp"
#include "services/MarkerService.hpp"
#include "services/PeopleRegistry.hpp"

#include <Bedrock/Arrivals.hpp>
#include <EventLoop.hpp>
#include <Tavola/TesselServiceCache.hpp>

#include <doctest/doctest.h>

using namespace Host;

using Bedrock::Arrivals;

namespace
{
struct Desk
{
    explicit Desk(const char* file)
    {
        QString error;
        registry = PeopleRegistry::open(folder.path(QLatin1String(file)), error);
        REQUIRE_MESSAGE(registry, error.toStdString());
        REQUIRE(registry->insert({{1001, QStringLiteral("Ann"), QString(), QString(), 0}}));
        service = std::make_shared<MarkerService>(registry, cache);
        service->fillCache();
    }
    QString name(unsigned long code) const
    {
        const auto card = cache->markerProperties(code);
        return card.personalProperties() ? card.personalProperties()->name : QStringLiteral("nobody");
    }

    Folder folder;
    std::shared_ptr<PeopleRegistry> registry;
    std::shared_ptr<Tavola::TesselServiceCache> cache = std::make_shared<Tavola::TesselServiceCache>();
    std::shared_ptr<MarkerService> service;
};
}

TEST_CASE("people watch: who is registered at a desk while a table is recorded is known in the replay from the same frame on")
{
    std::vector<Arrivals::Arrival> recorded;
    auto& arrivals = Arrivals::instance();
    {
        Desk desk("people.sqlite");
        arrivals.startRecording([&](const Arrivals::Arrival& arrival) { recorded.push_back(arrival); });
        PeopleWatch watch(desk.registry, desk.service);
        // Twice, because each answer asks anew.
        for (const unsigned long code : {2002ul, 2003ul}) {
            REQUIRE(desk.registry->insert({{code, QStringLiteral("Bob"), QString(), QString(), 0}}));
            REQUIRE(TestSupport::pumpUntil([&] {
                watch.look();
                return arrivals.isWaiting();
            }));
            CHECK(desk.name(code) == QStringLiteral("nobody"));
            CHECK(arrivals.admit() == 1);
            CHECK(desk.name(code) == QStringLiteral("Bob"));
            CHECK(desk.name(1001) == QStringLiteral("Ann"));
        }
    }
    REQUIRE(recorded.size() == 2);

    Desk replayed("again.sqlite");
    arrivals.startReplaying();
    {
        const PeopleWatch watch(replayed.registry, replayed.service);
        arrivals.expect({recorded[0]});
        CHECK(arrivals.admit() == 1);
        CHECK(replayed.name(2002) == QStringLiteral("Bob"));
        CHECK(replayed.name(2003) == QStringLiteral("nobody"));
        arrivals.expect({recorded[1]});
        CHECK(arrivals.admit() == 1);
        CHECK(replayed.name(2003) == QStringLiteral("Bob"));
        // Who registers at the table is looked for there.
        CHECK(replayed.registry->person(2003));
    }
    arrivals.stop();
}
