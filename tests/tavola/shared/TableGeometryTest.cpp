#include "shared/TableGeometry.hpp"

#include "TestHost.hpp"

#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

using Bedrock::makeIntrusive;
using TestSupport::TestHost;
using Vecta::Vector2f;

namespace
{
constexpr float kQuarterTurn = Vecta::kPiOf<float> / 2.f;

bool isNear(Vector2f a, Vector2f b)
{
    return (a - b).length() < 0.01f;
}
}

TEST_CASE("table geometry: a widget is on the table while it lies in the main layer's tree")
{
    TestHost host;
    const auto outer = makeIntrusive<Trellis::Widget>();
    const auto inner = makeIntrusive<Trellis::Widget>(outer.get());
    CHECK_FALSE(Tavola::isOnTable(*inner));
    host.mainWidget().addChild(outer);
    CHECK(Tavola::isOnTable(*outer));
    CHECK(Tavola::isOnTable(*inner));
    outer->removeFromParent();
    CHECK_FALSE(Tavola::isOnTable(*inner));
}

TEST_CASE("table geometry: turn and scale on the table are those of all ancestors together")
{
    TestHost host;
    const auto outer = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    outer->setRotation(kQuarterTurn);
    outer->setScale(2.f);
    const auto inner = makeIntrusive<Trellis::Widget>(outer.get());
    inner->setRotation(-0.5f);
    inner->setScale(1.5f);
    CHECK(Tavola::sceneRotation(*inner) == doctest::Approx(kQuarterTurn - 0.5f));
    CHECK(Tavola::sceneScale(*inner) == doctest::Approx(3.f));
}

TEST_CASE("table geometry: the nearest centre keeps a widget on the table as it is turned and scaled")
{
    TestHost host; // 1920 by 1080
    struct Row
    {
        Vector2f size;
        float rotation;
        float scale;
        Vector2f wanted;
        Vector2f center;
    };
    const Row rows[] = {
        {{200.f, 100.f}, 0.f, 1.f, {900.f, 500.f}, {900.f, 500.f}},
        {{200.f, 100.f}, 0.f, 1.f, {0.f, 1080.f}, {100.f, 1030.f}},
        {{200.f, 100.f}, kQuarterTurn, 1.f, {0.f, 1080.f}, {50.f, 980.f}},
        {{200.f, 100.f}, 0.f, 2.f, {1920.f, 0.f}, {1720.f, 100.f}},
        // Larger than the table: its left and upper edges show.
        {{4000.f, 100.f}, 0.f, 1.f, {1900.f, 500.f}, {2000.f, 500.f}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.rotation);
        CAPTURE(row.scale);
        const auto widget = makeIntrusive<Trellis::Widget>(); // needs no parent yet
        widget->setSize(row.size);
        widget->setRotation(row.rotation);
        CHECK(isNear(Tavola::centerOnTable(*widget, row.scale, host.mainWidget(), row.wanted), row.center));
    }
}

TEST_CASE("table geometry: the centre is in the coordinates of the parent, however that is turned")
{
    TestHost host;
    const auto parent = makeIntrusive<Trellis::Widget>(&host.mainWidget());
    parent->setLocation({1000.f, 500.f});
    parent->setRotation(kQuarterTurn);
    const auto widget = makeIntrusive<Trellis::Widget>();
    widget->setSize({200.f, 100.f});
    const Vector2f center = Tavola::centerOnTable(*widget, 1.f, *parent, parent->mapFromScene({1920.f, 500.f}));
    CHECK(isNear(parent->mapToScene(center), {1870.f, 500.f}));
}
