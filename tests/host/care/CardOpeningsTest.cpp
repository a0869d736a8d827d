#include "care/CardOpenings.hpp"

#include <Tactile/Sample.hpp>
#include <Tavola/LaunchedContentOperator.hpp>
#include <TestHost.hpp>

#include "CareTable.hpp"

#include <doctest/doctest.h>

using Host::CardOpenings;
using Vecta::Vector2f;

namespace
{
struct CardOpeningsFixture
{
    Trellis::Widget& add(Vector2f location)
    {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->postConstruct();
        widget->setSize({100.f, 100.f});
        host.mainWidget().addChild(widget);
        widget->setLocation(location);
        return *widget;
    }
    static Tactile::Sample cardDown(Vector2f point)
    {
        Tactile::Sample sample;
        const Tactile::Marker card(77, 1001, point);
        sample.markers.push_back(card);
        sample.changes.push_back({Tactile::InputChange::Kind::Down, card});
        return sample;
    }

    TestSupport::TestHost host;
    CardOpenings openings;
};
}

TEST_CASE("card openings: a new child with its centre or its corner at a card that came down opened there")
{
    CardOpeningsFixture f;
    auto& centred = f.add({450.f, 350.f});
    auto& cornered = f.add({500.f, 400.f});
    const auto found = f.openings.find(f.host.mainWidget(), CardOpeningsFixture::cardDown({500.f, 400.f}));
    REQUIRE(found.size() == 2);
    CHECK(found[0].widget.lock().get() == &centred);
    CHECK(found[1].widget.lock().get() == &cornered);
    CHECK(found[0].card.code() == 1001);
}

TEST_CASE("card openings: what opens at a card that has lain there before is found, too")
{
    CardOpeningsFixture f;
    f.add({450.f, 350.f});
    Tactile::Sample lying = CardOpeningsFixture::cardDown({500.f, 400.f});
    lying.changes.clear();
    CHECK(f.openings.find(f.host.mainWidget(), lying).size() == 1);
    CHECK(f.openings.find(f.host.mainWidget(), lying).empty());
}

TEST_CASE("card openings: a child elsewhere, an older one and one in a frame without a card did not open at a card")
{
    CardOpeningsFixture f;
    f.add({450.f, 350.f});
    CHECK(f.openings.find(f.host.mainWidget(), {}).empty());
    f.add({0.f, 0.f});
    CHECK(f.openings.find(f.host.mainWidget(), CardOpeningsFixture::cardDown({500.f, 400.f})).empty());
}

TEST_CASE("card openings: content that opens by itself, and then follows its card, is found once and not remembered")
{
    CardOpeningsFixture f;
    auto& launched = f.add({450.f, 350.f});
    launched.addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(false, Vector2f{500.f, 400.f}, 0.3f));
    auto& plain = f.add({450.f, 350.f});
    const auto found = f.openings.find(f.host.mainWidget(), CardOpeningsFixture::cardDown({500.f, 400.f}));
    REQUIRE(found.size() == 2);
    CHECK(found[0].widget.lock().get() == &launched);
    CHECK(found[0].isLaunched);
    CHECK_FALSE(found[1].isLaunched);
    CHECK_FALSE(f.openings.codeOf(launched));
    CHECK(f.openings.codeOf(plain) == 1001);
    CHECK(f.openings.find(f.host.mainWidget(), CardOpeningsFixture::cardDown({500.f, 400.f})).empty());
}

TEST_CASE("card openings: what a folder opens at the table's edge ends whole on the table, and what keeps its distance from a "
          "card exactly there")
{
    CareTable table;
    table.area->setInputEnabled(false);
    const auto launch = [&](bool isRelative) -> Trellis::Widget& {
        const auto widget = Bedrock::makeIntrusive<Trellis::Widget>();
        widget->postConstruct();
        widget->setSize({300.f, 200.f});
        table.host.mainWidget().addChild(widget);
        widget->setLocation({0.f, 0.f});
        widget->addOperator(Bedrock::makeIntrusive<Tavola::LaunchedContentOperator>(isRelative, Vector2f{1900.f, 1070.f}, 0.3f));
        return *widget;
    };
    table.host.input.markerDown(1001, {1900.f, 1070.f});
    Trellis::Widget& exact = launch(true);
    Trellis::Widget& whole = launch(false);
    table.host.frames(40);
    CHECK((exact.location() - Vector2f(1900.f, 1070.f)).length() < 0.1f);
    CHECK((whole.centerLocation() - Vector2f(1770.f, 980.f)).length() < 0.1f);
}
