#include "care/KeyboardPlaces.hpp"

#include "CareTable.hpp"
#include "KeyboardDesk.hpp"

#include <doctest/doctest.h>

using KeyboardTests::Desk;
using Vecta::Vector2f;

namespace
{
bool isOnTable(const Trellis::Widget& widget)
{
    const Vecta::Rect bounds = widget.sceneBounds();
    return bounds.x >= -0.5f && bounds.y >= -0.5f && bounds.right() <= 1920.5f && bounds.bottom() <= 1080.5f;
}
}

TEST_CASE("keyboard places: at the table's edge a keyboard is whole and leaves the field in sight")
{
    for (const Vector2f place : KeyboardTests::kEdgePlaces) {
        for (const float angle : {0.f, 0.4f, 3.1416f}) {
            CAPTURE(place.x);
            CAPTURE(place.y);
            CAPTURE(angle);
            CareTable table;
            Desk desk(table.host);
            desk.open();
            desk.space->setRotation(angle);
            desk.space->setCenterLocation(place);
            table.host.frame();
            CHECK(isOnTable(*desk.keyboard()));
            CHECK_FALSE(desk.keyboard()->intersects(*desk.field));
        }
    }
}

TEST_CASE("keyboard places: a keyboard opens where it covers no other person's widget, and stays there whatever that one does")
{
    CareTable table;
    Trellis::Widget& other = table.open(1001, {1000.f, 740.f});
    Desk desk(table.host, {700.f, 250.f});
    table.host.frames(30);
    other.setLocation({700.f, 600.f});
    table.host.frames(2);
    desk.open();
    CHECK_FALSE(desk.keyboard()->intersects(other));
    const Vector2f before = desk.keyboard()->mapToScene({});
    other.setCenterLocation(before);
    table.host.frames(3);
    CHECK(desk.keyboard()->mapToScene({}) == before);
    // It goes along with its field, on the same side.
    desk.space->setLocation(desk.space->location() + Vector2f(4.f, 0.f));
    table.host.frame();
    CHECK((desk.keyboard()->mapToScene({}) - before - Vector2f(4.f, 0.f)).length() < 0.1f);
}

TEST_CASE("keyboard places: of two keyboards none covers the other")
{
    CareTable table;
    Desk ann(table.host, {300.f, 40.f});
    Desk bo(table.host, {300.f, 640.f});
    ann.open();
    bo.open();
    REQUIRE(ann.keyboard());
    CHECK_FALSE(bo.keyboard()->intersects(*ann.keyboard()));
}

TEST_CASE("keyboard places: a keyboard that fades away keeps no other one away")
{
    CareTable table;
    Desk ann(table.host, {300.f, 40.f});
    Desk bo(table.host, {300.f, 640.f});
    ann.open();
    ann.keyboard()->close();
    table.host.frame();
    bo.open();
    CHECK(bo.keyboard()->mapToScene({}).y < 640.f);
}

TEST_CASE("keyboard places: without the host's care a keyboard stands in its usual place")
{
    CareTable table;
    table.host.mainWidget().removeOperator(*table.host.mainWidget().operators().front());
    Desk desk(table.host, {600.f, 700.f});
    desk.open();
    CHECK(desk.keyboard()->intersects(*desk.space));
    CHECK(isOnTable(*desk.keyboard()));
}

TEST_CASE("keyboard places: a keyboard keeps its side while its field is moved along the table's edge")
{
    CareTable table;
    Desk desk(table.host, {600.f, 700.f});
    desk.open();
    REQUIRE(desk.keyboard()->sceneBounds().bottom() < 700.f);
    desk.space->setLocation({-180.f, 480.f}); // below there is room again, but for a part of the keyboard's width
    table.host.frame();
    CHECK(desk.keyboard()->sceneBounds().bottom() < 480.f);
    desk.space->setLocation({600.f, 200.f});
    table.host.frame();
    CHECK(desk.keyboard()->sceneBounds().y > 500.f);
}
