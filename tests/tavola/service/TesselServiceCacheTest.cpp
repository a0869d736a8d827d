#include <doctest/doctest.h>

#include <Tavola/TesselServiceCache.hpp>
#include <Trellis/Widget.hpp>

using Tavola::TesselServiceAPI;
using Properties = TesselServiceAPI::MarkerProperties;

TEST_CASE("marker cache: answers with what was entered, and with an unregistered card for the rest")
{
    Tavola::TesselServiceCache cache;
    CHECK_FALSE(cache.isCached(1001));
    CHECK(cache.markerProperties(1001).type() == Properties::kUnregistered);
    CHECK_FALSE(cache.markerProperties(1001).personalProperties());

    cache.insert(1001,
                 Properties(Properties::kPersonal, TesselServiceAPI::PersonalMarkerProperties{"Ann", "ann@example.org", {}}));
    CHECK(cache.isCached(1001));
    const auto ann = cache.markerProperties(1001);
    CHECK(ann.type() == Properties::kPersonal);
    REQUIRE(ann.personalProperties());
    CHECK(ann.personalProperties()->name == "Ann");
    CHECK(ann.personalProperties()->email == "ann@example.org");

    cache.insert(1001, Properties(Properties::kUnregistered, std::nullopt));
    CHECK_FALSE(cache.markerProperties(1001).personalProperties());
    CHECK(ann.personalProperties()->name == "Ann"); // a copy

    cache.insert(1002, Properties(7, std::nullopt));
    cache.remove(1001);
    CHECK_FALSE(cache.isCached(1001));
    CHECK(cache.markerProperties(1002).type() == 7);
    cache.clear();
    CHECK_FALSE(cache.isCached(1002));
}

TEST_CASE("marker cache: everything is replaced at once, and what was there is given back")
{
    Tavola::TesselServiceCache cache;
    cache.insert(1001, Properties(7, std::nullopt));
    cache.insert(1002, Properties(8, std::nullopt));
    const auto before = cache.replace({{1002, Properties(9, std::nullopt)}, {1003, Properties(10, std::nullopt)}});
    CHECK(before.size() == 2);
    CHECK(before.at(1001).type() == 7);
    CHECK_FALSE(cache.isCached(1001));
    CHECK(cache.markerProperties(1002).type() == 9);
    CHECK(cache.markerProperties(1003).type() == 10);
    CHECK(cache.replace({}).size() == 2);
    CHECK_FALSE(cache.isCached(1002));
}
