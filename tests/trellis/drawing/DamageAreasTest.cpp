#include "drawing/DamageAreas.hpp"
#include "tree/Outline.hpp"

#include <Vecta/Transform.hpp>

#include <doctest/doctest.h>

#include <QRegion>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using Trellis::DamageAreas;
using Trellis::Outline;
using Vecta::Rect;
using Vecta::Transform;
using Vecta::Vector2f;

namespace
{
constexpr Rect kScene{0, 0, 1000, 800};
constexpr Vector2f kEdge{1.f, 1.f};

DamageAreas areasOfScene()
{
    DamageAreas areas;
    areas.setScene(kScene);
    return areas;
}

Transform turn(Vector2f place, float radians)
{
    return Transform::translation(place) * Transform::rotation(radians);
}

Outline turnedOutline(const Rect& box, Vector2f place, float radians)
{
    return {turn(place, radians).mapCorners(box)};
}

bool isCovered(const DamageAreas& areas, Vector2f point)
{
    return std::any_of(areas.all().begin(), areas.all().end(), [point](const Rect& area) {
        return point.x >= area.x - 0.01f && point.y >= area.y - 0.01f && point.x <= area.right() + 0.01f
            && point.y <= area.bottom() + 0.01f;
    });
}

double pixelsOf(const DamageAreas& areas)
{
    QRegion region;
    for (const Rect& area : areas.all())
        region +=
            QRect(int(std::floor(area.x)), int(std::floor(area.y)), int(std::ceil(area.width)), int(std::ceil(area.height)));
    double result = 0.0;
    for (const QRect& rect : region)
        result += double(rect.width()) * rect.height();
    return result;
}
}

TEST_CASE("damage areas: what two have in common, or one contains, is one area, and what lies outside of the scene is none")
{
    DamageAreas areas = areasOfScene();
    areas.add({10, 10, 50, 50});
    areas.add({20, 20, 10, 10});
    CHECK(areas.all() == std::vector<Rect>{{10, 10, 50, 50}});
    areas.add({0, 0, 100, 100});
    CHECK(areas.all() == std::vector<Rect>{{0, 0, 100, 100}});
    areas.add({5, 0, 100, 100});
    CHECK(areas.all() == std::vector<Rect>{{0, 0, 105, 100}});
    areas.add({500, 500, 10, 10});
    CHECK(areas.all().size() == 2);
    areas.clear();
    CHECK(areas.all().empty());
    areas.add({-50, -50, 40, 40});
    areas.add({10, 10, 0, 40});
    areas.add({std::numeric_limits<float>::quiet_NaN(), 10, 10, 10});
    CHECK(areas.all().empty());
    areas.add({990, 790, 50, 50});
    CHECK(areas.all() == std::vector<Rect>{{990, 790, 10, 10}});
}

TEST_CASE("damage areas: too many become few that cover all of them, and near ones rather than distant ones")
{
    DamageAreas areas = areasOfScene();
    std::vector<Rect> added;
    for (int i = 0; i < 60; ++i)
        added.push_back({float(i % 10) * 100.f, float(i / 10) * 130.f, 10, 10});
    added.push_back({995, 795, 5, 5});
    for (const Rect& area : added)
        areas.add(area);
    CHECK(areas.all().size() <= DamageAreas::kMost);
    for (const Rect& area : added)
        CHECK(
            std::any_of(areas.all().begin(), areas.all().end(), [&](const Rect& known) { return known.united(area) == known; }));

    areas.clear();
    for (std::size_t i = 0; i < DamageAreas::kMost; ++i)
        areas.add({float(i % 8) * 120.f, float(i / 8) * 150.f, 10, 10});
    REQUIRE(areas.all().size() == DamageAreas::kMost);
    areas.add({365, 160, 10, 10});
    CHECK(areas.all().size() == DamageAreas::kMost);
    CHECK(std::count(areas.all().begin(), areas.all().end(), Rect{360, 150, 15, 20}) == 1);
}

TEST_CASE("damage areas: many that leave little out become one, and few or those that leave out much stay apart")
{
    // Rows of six squares, in equal steps, so that no two of them can be one without waste.
    const auto areasAfter = [](int count, float size) {
        DamageAreas areas = areasOfScene();
        for (int i = 0; i < count; ++i)
            areas.add({float(i % 6) * 100.f, float(i / 6) * 100.f, size, size});
        REQUIRE(areas.all().size() == std::size_t(count));
        areas.joinMany();
        return areas.all();
    };
    CHECK(areasAfter(24, 94) == std::vector<Rect>{{0, 0, 594, 394}});
    CHECK(areasAfter(30, 94) == std::vector<Rect>{{0, 0, 594, 494}});
    CHECK(areasAfter(23, 94).size() == 23);
    CHECK(areasAfter(24, 90).size() == 24);
}

TEST_CASE("damage areas: whatever moves is covered with its edges, where it was and where it is")
{
    std::mt19937 random(5);
    const auto number = [&](float from, float to) { return from + (to - from) * float(random() % 10000u) / 10000.f; };
    for (int i = 0; i < 150; ++i) {
        CAPTURE(i);
        const Rect box{number(-200, 0), number(-200, 0), number(5, 700), number(5, 700)};
        const Transform before = turn({number(0, 1000), number(0, 800)}, number(0, 7));
        const Transform now = i % 3 == 0 ? turn({number(0, 1000), number(0, 800)}, number(0, 7))
                                         : Transform::translation({number(-20, 20), number(-20, 20)}) * before;
        DamageAreas areas = areasOfScene();
        areas.addMove({before.mapCorners(box)}, {now.mapCorners(box)}, kEdge);
        CHECK(areas.all().size() <= DamageAreas::kMost);
        bool isAllCovered = true;
        for (const Transform& toScene : {before, now})
            for (int step = 0; step < 400; ++step) {
                // On the border, where strips are narrowest.
                const float along = float(step % 100) / 100.f;
                const Vector2f onBorder[] = {{along, 0.f}, {1.f, along}, {along, 1.f}, {0.f, along}};
                const Vector2f share = onBorder[step / 100];
                const Vector2f middle = toScene.map({box.x + share.x * box.width, box.y + share.y * box.height});
                for (const Vector2f beside : {Vector2f{-1, -1}, Vector2f{1, -1}, Vector2f{-1, 1}, Vector2f{1, 1}})
                    if (const Vector2f point = middle + beside; kScene.contains(point))
                        isAllCovered = isAllCovered && isCovered(areas, point);
            }
        CHECK(isAllCovered);
    }
}

TEST_CASE("damage areas: the corners around what is large and turned stay out, and other things are one rectangle")
{
    DamageAreas areas = areasOfScene();
    const Outline large = turnedOutline({0, 0, 600, 300}, {200, 50}, 0.6f);
    areas.addMove(large, large.moved({4, 3}), kEdge);
    const double upright = double(large.bounds().width) * double(large.bounds().height);
    CHECK(pixelsOf(areas) > double(large.area()));
    CHECK(pixelsOf(areas) < double(large.area()) + 0.35 * (upright - double(large.area())));

    // What showed nowhere adds nothing, wherever it was.
    areas.clear();
    const Vector2f inCorner{large.bounds().x + 9.f, large.bounds().y + 9.f};
    areas.addMove(Outline().moved(inCorner), large, kEdge);
    CHECK_FALSE(isCovered(areas, inCorner));
    CHECK(pixelsOf(areas) < double(large.area()) + 0.35 * (upright - double(large.area())));

    areas.clear();
    const Outline small = turnedOutline({0, 0, 80, 60}, {200, 50}, 0.6f);
    areas.addMove(small, small.moved({4, 3}), kEdge);
    CHECK(areas.all().size() == 1);

    areas.clear();
    const Outline upright2 = turnedOutline({0, 0, 600, 300}, {200, 50}, 0.f);
    areas.addMove(upright2, upright2.moved({4, 3}), {});
    CHECK(areas.all() == std::vector<Rect>{{200, 50, 604, 303}});
}

TEST_CASE("damage areas: what is gone far away is two rectangles, and what is nowhere none")
{
    DamageAreas areas = areasOfScene();
    const Outline small = turnedOutline({0, 0, 80, 60}, {100, 100}, 0.f);
    areas.addMove(small, small.moved({500, 300}), {});
    CHECK(areas.all() == std::vector<Rect>{{100, 100, 80, 60}, {600, 400, 80, 60}});

    areas.clear();
    areas.addMove(small, Outline(), kEdge);
    CHECK(areas.all() == std::vector<Rect>{{99, 99, 82, 62}});

    areas.clear();
    const float none = std::numeric_limits<float>::quiet_NaN();
    areas.addMove(Outline(), turnedOutline({0, 0, 800, 600}, {none, 5}, 0.5f), kEdge);
    CHECK(areas.all().empty());
    // Further away than strips are accurate.
    areas.addMove(Outline(), turnedOutline({-1e7f, -1e7f, 2e7f, 2e7f}, {500, 400}, 0.5f), kEdge);
    CHECK(areas.all() == std::vector<Rect>{kScene});
}
