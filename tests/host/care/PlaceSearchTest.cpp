#include "care/PlaceSearch.hpp"

#include <Vecta/Transform.hpp>

#include <doctest/doctest.h>

#include <cmath>
#include <vector>

using namespace Host;
using Vecta::Rect;
using Vecta::Vector2f;

namespace
{
constexpr Vector2f kTable{1920.f, 1080.f};
constexpr float kQuarter = 1.5707963f;

PlaceSearch::Outline outline(Vector2f center, Vector2f size, float angle)
{
    return (Vecta::Transform::translation(center) * Vecta::Transform::rotation(angle))
        .mapCorners({-size.x / 2.f, -size.y / 2.f, size.x, size.y});
}

PlaceSearch opened(Vector2f center, float angle, Placement placement = Placement::At)
{
    PlaceSearch search;
    search.placement = placement;
    search.center = center;
    search.size = {600.f, 640.f};
    search.angleRadians = angle;
    search.keepClear = {{36.f, 26.f, 528.f, 50.f}, {448.f, 504.f, 116.f, 116.f}, {36.f, 522.f, 396.f, 60.f}};
    search.card = outline(center, {138.f, 138.f}, angle);
    search.table = kTable;
    search.gapPx = 4.f;
    return search;
}

bool isWholeAt(const PlaceSearch& search, Vector2f center)
{
    for (const Vector2f& corner : outline(center, search.size, search.angleRadians))
        if (corner.x < -0.1f || corner.y < -0.1f || corner.x > kTable.x + 0.1f || corner.y > kTable.y + 0.1f)
            return false;
    return true;
}

/// Judged with the rectangle test of the geometry library, which the search does not use.
bool isCovered(const PlaceSearch& search, Vector2f center, const PlaceSearch::Outline& card)
{
    const auto toScene = Vecta::Transform::translation(center) * Vecta::Transform::rotation(search.angleRadians)
        * Vecta::Transform::translation(search.size * -0.5f);
    for (const Rect& part : search.keepClear)
        if (Vecta::quadsIntersect(toScene.mapCorners(part), card))
            return true;
    return false;
}

/// 40 places along the table's edges, 10 on each side, from the corners on.
std::vector<Vector2f> placesAlongEdges()
{
    std::vector<Vector2f> places;
    for (int i = 0; i < 10; ++i) {
        const float part = float(i) / 9.f;
        places.push_back({kTable.x * part, 60.f});
        places.push_back({kTable.x * part, kTable.y - 60.f});
        places.push_back({60.f, kTable.y * part});
        places.push_back({kTable.x - 60.f, kTable.y * part});
    }
    return places;
}
}

TEST_CASE("place search: what opens where it is whole and clear of its card stays there")
{
    for (int eighth = 0; eighth < 8; ++eighth) {
        const PlaceSearch search = opened({960.f, 540.f}, float(eighth) * kQuarter / 2.f);
        CAPTURE(eighth);
        CHECK(search.find() == search.center);
    }
}

TEST_CASE("place search: at 40 places along the edges and 8 angles nothing is cut and no card covers what is kept clear")
{
    for (const Placement placement : {Placement::At, Placement::Beside, Placement::Below, Placement::Above})
        for (const Vector2f& place : placesAlongEdges())
            for (int eighth = 0; eighth < 8; ++eighth) {
                const PlaceSearch search = opened(place, float(eighth) * kQuarter / 2.f, placement);
                const Vector2f found = search.find();
                CAPTURE(int(placement));
                CAPTURE(place.x);
                CAPTURE(place.y);
                CAPTURE(eighth);
                CHECK(isWholeAt(search, found));
                CHECK_FALSE(isCovered(search, found, search.card));
                if (placement != Placement::At)
                    CHECK_FALSE(Vecta::quadsIntersect(outline(found, search.size, search.angleRadians), search.card));
            }
}

TEST_CASE("place search: with seven cards and two other people's widgets around it finds the room that there is")
{
    for (const Vector2f& place : placesAlongEdges())
        for (int eighth = 0; eighth < 8; ++eighth) {
            PlaceSearch search = opened(place, float(eighth) * kQuarter / 2.f);
            search.size = {300.f, 320.f};
            search.keepClear = {{18.f, 13.f, 264.f, 25.f}, {224.f, 252.f, 58.f, 58.f}};
            for (int i = 0; i < 7; ++i)
                search.otherCards.push_back(
                    outline({200.f + 250.f * float(i), 300.f + 120.f * float(i % 4)}, {138.f, 138.f}, 0.3f));
            search.others = {outline({500.f, 600.f}, {300.f, 320.f}, 0.4f), outline({1500.f, 200.f}, {300.f, 320.f}, 1.f)};
            const Vector2f found = search.find();
            CAPTURE(place.x);
            CAPTURE(place.y);
            CAPTURE(eighth);
            CHECK(isWholeAt(search, found));
            CHECK_FALSE(isCovered(search, found, search.card));
            for (const auto& card : search.otherCards)
                CHECK_FALSE(isCovered(search, found, card));
            for (const auto& other : search.others)
                CHECK_FALSE(Vecta::quadsIntersect(outline(found, search.size, search.angleRadians), other));
        }
}

TEST_CASE("place search: where there is no room beside another person's widget, its middle stays uncovered")
{
    PlaceSearch search = opened({960.f, 540.f}, 0.f);
    search.others = {outline({960.f, 540.f}, {1000.f, 900.f}, 0.f)};
    const Vector2f found = search.find();
    CHECK(isWholeAt(search, found));
    CHECK_FALSE(Vecta::quadsIntersect(outline(found, search.size, 0.f), outline({960.f, 540.f}, {700.f, 630.f}, 0.f)));
}

TEST_CASE("place search: moves no further than it must")
{
    PlaceSearch search = opened({960.f, 200.f}, 0.f);
    CHECK(search.find() == Vector2f(960.f, 320.f));
    search.center = {100.f, 540.f};
    search.card = outline({-900.f, 0.f}, {1.f, 1.f}, 0.f);
    CHECK(search.find() == Vector2f(300.f, 540.f));
}

TEST_CASE("place search: a full table covers another person's widget rather than hiding a part under a card")
{
    PlaceSearch search = opened({960.f, 540.f}, 0.f);
    search.others = {outline({960.f, 540.f}, kTable, 0.f)};
    search.otherCards = {outline({960.f, 270.f}, {138.f, 138.f}, 0.f)};
    const Vector2f found = search.find();
    CHECK(isWholeAt(search, found));
    CHECK_FALSE(isCovered(search, found, search.otherCards[0]));
}

TEST_CASE("place search: beside, below and above are seen from the widget's lower edge")
{
    const auto moved = [](Placement placement, float angle) {
        const PlaceSearch search = opened({960.f, 540.f}, angle, placement);
        // A table that is large enough for every side.
        PlaceSearch large = search;
        large.table = {4000.f, 4000.f};
        large.center = {2000.f, 2000.f};
        large.card = outline(large.center, {138.f, 138.f}, angle);
        return large.find() - large.center;
    };
    const auto isNear = [](Vector2f a, Vector2f b) { return (a - b).length() < 0.5f; };
    CHECK(isNear(moved(Placement::Beside, 0.f), {373.f, 0.f}));
    CHECK(isNear(moved(Placement::Below, 0.f), {0.f, 393.f}));
    CHECK(isNear(moved(Placement::Above, 0.f), {0.f, -393.f}));
    CHECK(isNear(moved(Placement::Beside, kQuarter), {0.f, 373.f}));
    CHECK(isNear(moved(Placement::Below, kQuarter), {-393.f, 0.f}));
}

TEST_CASE("place search: where cards leave no free place, the parts are free of the widget's own card at least")
{
    PlaceSearch search = opened({960.f, 540.f}, 0.f);
    search.keepClear = {{0.f, 0.f, search.size.x, search.size.y}};
    for (float x = 100.f; x < 1920.f; x += 200.f)
        for (float y = 100.f; y < 1080.f; y += 200.f)
            if (std::abs(x - 960.f) > 150.f || std::abs(y - 540.f) > 150.f)
                search.otherCards.push_back(outline({x, y}, {138.f, 138.f}, 0.f));
    const Vector2f found = search.find();
    const bool isBesideCard =
        std::abs(found.x - 960.f) >= 69.f + search.size.x / 2.f || std::abs(found.y - 540.f) >= 69.f + search.size.y / 2.f;
    CHECK_MESSAGE(isBesideCard, found.x << " " << found.y);
}

TEST_CASE("place search: beside the right edge is the left side of the card")
{
    const PlaceSearch search = opened({1500.f, 540.f}, 0.f, Placement::Beside);
    CHECK((search.find() - Vector2f(1500.f - 373.f, 540.f)).length() < 0.5f);
}

TEST_CASE("place search: the own card lies on a margin of the widget rather than that this opens far away")
{
    PlaceSearch search = opened({1400.f, 500.f}, 0.f, Placement::Beside);
    search.size = {460.f, 520.f};
    search.keepClear = {{28.f, 18.f, 380.f, 40.f}, {328.f, 400.f, 104.f, 104.f}};
    search.others = {outline({1103.f, 500.f}, search.size, 0.f)};
    const Vector2f found = search.find();
    CHECK(isWholeAt(search, found));
    CHECK((found - search.center).length() < 320.f);
    CHECK_FALSE(isCovered(search, found, search.card));
    CHECK_FALSE(Vecta::quadsIntersect(outline(found, search.size, 0.f), search.others[0]));
    // Where there is room next to the card, it is used.
    search.center.x = 1380.f;
    search.card = outline(search.center, {138.f, 138.f}, 0.f);
    CHECK_FALSE(Vecta::quadsIntersect(outline(search.find(), search.size, 0.f), search.card));
}

TEST_CASE("place search: a widget larger than the table is in its middle")
{
    PlaceSearch search = opened({100.f, 100.f}, 0.f);
    search.size = {2400.f, 1600.f};
    search.keepClear.clear();
    CHECK(search.find() == Vector2f(960.f, 540.f));
}
