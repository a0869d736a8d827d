#include <doctest/doctest.h>

#include <Tavola/DataGathering.hpp>

#include <vector>

namespace DataGathering = Tavola::DataGathering;

TEST_CASE("data gathering: an event names what happened to which widget and card")
{
    const auto added = DataGathering::widgetAddedToPersonalSpaceEvent(17, 1001, "Ann", "ann@example.org");
    CHECK(added.type == "widget-added-to-personal-space");
    CHECK(added.data == QJsonObject{{"widget", 17}, {"tessel", 1001}, {"name", "Ann"}, {"email", "ann@example.org"}});
    const auto removed = DataGathering::widgetRemovedFromPersonalSpaceEvent(17, 1001);
    CHECK(removed.type == "widget-removed-from-personal-space");
    CHECK(removed.data == QJsonObject{{"widget", 17}, {"tessel", 1001}});
}

TEST_CASE("data gathering: events go to the sink, and nowhere without one")
{
    std::vector<QString> heard;
    auto before = DataGathering::setSink([&](const DataGathering::Event& event) { heard.push_back(event.type); });
    const auto event = DataGathering::widgetRemovedFromPersonalSpaceEvent(1, 2);
    CHECK(heard.empty());
    DataGathering::logEventToService(event);
    CHECK(heard == std::vector<QString>{"widget-removed-from-personal-space"});
    DataGathering::setSink(nullptr);
    DataGathering::logEventToService(event);
    CHECK(heard.size() == 1);
    DataGathering::setSink(std::move(before));
}
