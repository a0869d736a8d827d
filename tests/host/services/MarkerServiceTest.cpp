#include "services/MarkerService.hpp"

#include "PeopleTable.hpp"

#include <Trellis/Widget.hpp>

#include <doctest/doctest.h>

using namespace Host;

using Tavola::TesselServiceAPI;

TEST_CASE("marker service: the cache has every person of the registry")
{
    PeopleTable table;
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
    PeopleTable table;
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QStringLiteral("bo@museum.example")));
    CHECK(table.registry->person(1007)->name == "Bo");
    CHECK(table.cache->markerProperties(1007).type() == TesselServiceAPI::MarkerProperties::kUnregistered);

    CHECK(PeopleTable::bringIn() == 1);
    const auto bo = table.cache->markerProperties(1007);
    CHECK(bo.type() == TesselServiceAPI::MarkerProperties::kPersonal);
    REQUIRE(bo.personalProperties());
    CHECK(bo.personalProperties()->name == "Bo");
    CHECK(bo.personalProperties()->email == "bo@museum.example");
}

TEST_CASE("marker service: the languages of cards and owners follow the registry and registrations")
{
    PeopleTable table;
    CHECK(table.languages->ownOfCard(1001).isEmpty());
    REQUIRE(
        table.registry->insert({{1001, QStringLiteral("Ann"), QStringLiteral("ann@museum.example"), {}, 0, QStringLiteral("fi")},
                                {1007, {}, {}, {}, 3, QStringLiteral("de")}}));
    REQUIRE(table.service->fillCache());
    CHECK(table.languages->ownOfCard(1001) == "fi");
    CHECK(table.languages->ofOwner(QStringLiteral("ann@museum.example")) == "fi");
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QStringLiteral("bo@museum.example")));
    CHECK(PeopleTable::bringIn() == 1);
    CHECK(table.languages->ownOfCard(1007) == "de");
    CHECK(table.languages->ofOwner(QStringLiteral("bo@museum.example")) == "de");
}

TEST_CASE("marker service: a card that is not in the registry is refused and changes nothing")
{
    PeopleTable table;
    CHECK_FALSE(table.registerOnAThread(4711, QStringLiteral("Eve"), QString()));
    CHECK(Bedrock::AfterUpdateQueue::instance().isEmpty());
    CHECK_FALSE(table.cache->isCached(4711));
    CHECK_FALSE(table.registry->person(4711));
}

TEST_CASE("marker service: one that goes with a registration on its way does no harm")
{
    PeopleTable table;
    CHECK(table.registerOnAThread(1007, QStringLiteral("Bo"), QString()));
    table.service.reset();
    table.registry.reset();
    CHECK(PeopleTable::bringIn() == 1);
    CHECK(table.cache->markerProperties(1007).personalProperties()->name == "Bo");
}

TEST_CASE("marker service: it has no personal widgets of its own and says so")
{
    PeopleTable table;
    const auto widget = table.service->personalWidget(1001);
    REQUIRE_FALSE(widget.has_value());
    CHECK(widget.error() == "This presentation has no folder for card 1001");
}

TEST_CASE("marker service: a card with a content key gets the widget that the presentation has for the key")
{
    PeopleTable table;
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
    // The presentation is asked neither for the card without a key nor for the one that is not registered.
    CHECK(table.service->personalWidget(1007).error() == "This presentation has no folder for card 1007");
    CHECK(table.service->personalWidget(4711).error() == "This presentation has no folder for card 4711");
    CHECK(asked.size() == 2);
}

TEST_CASE("marker service: a registration gives a card a new owner and keeps its content")
{
    PeopleTable table;
    CHECK(table.registerOnAThread(1001, QStringLiteral("Bo"), QStringLiteral("bo@museum.example")));
    CHECK(table.registerOnAThread(1001, QStringLiteral("Cy"), QString())); // the last one counts
    PeopleTable::bringIn();
    const auto card = table.cache->markerProperties(1001);
    REQUIRE(card.personalProperties());
    CHECK(card.personalProperties()->name == "Cy");
    CHECK(card.personalProperties()->email.isEmpty());
    CHECK(card.personalProperties()->contentKey == "key");
}
