#include "LogCapture.hpp"
#include "TestTable.hpp"

#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <algorithm>
#include <chrono>
#include <cmath>

using Tactile::TuioDrop;

TEST_CASE("tuio input: a card and a finger lie where their table's rectangle puts them")
{
    TestTable table;
    REQUIRE(table.isAdded);
    auto second = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto* right = second.get();
    REQUIRE(table.input.addSource(std::move(second), {1000.f, 200.f, 500.f, 400.f}));

    table.cards({{1, 1001, 0.25f, 0.5f, 1.5f}});
    right->send(TestTable::fingersPacket(1, {{1, 0.5f, 0.25f}}));
    table.frame();
    REQUIRE(table.sample.markers.size() == 1);
    CHECK(table.sample.markers[0].code() == 1001);
    CHECK(table.sample.markers[0].centerLocation() == Vecta::Vector2f(250.f, 500.f));
    CHECK(table.sample.markers[0].rotation() == 1.5f);
    REQUIRE(table.sample.fingers.size() == 1);
    CHECK(table.sample.fingers[0].centerLocation() == Vecta::Vector2f(1250.f, 300.f));

    table.input.setTableRect(1, {0.f, 0.f, 100.f, 100.f});
    right->send(TestTable::fingersPacket(2, {{1, 0.75f, 0.25f}}));
    table.frame();
    CHECK(table.sample.fingers[0].centerLocation() == Vecta::Vector2f(75.f, 25.f));
}

TEST_CASE("tuio input: a down and an up between two frames both arrive, in order")
{
    TestTable table;
    table.fingers({{7, 0.5f, 0.5f}});
    table.fingers({});
    table.frame();
    CHECK(table.changes() == "down 1 up 1");
    CHECK(table.sample.fingers.empty());
    table.frame();
    CHECK(table.changes() == "");
}

TEST_CASE("tuio input: a card missing in one frame of its camera is never seen to go")
{
    TestTable table;
    table.cards({{1, 1001, 0.5f, 0.5f}});
    table.frame();
    CHECK(table.changes() == "down 1");
    table.cards({});
    table.frame();
    CHECK(table.changes() == "");
    CHECK(table.sample.markers.size() == 1);
    table.cards({{2, 1001, 0.501f, 0.5f}});
    table.frame();
    CHECK(table.changes() == "move 1");
    table.cards({});
    table.frame(0.3);
    table.frame(0.3);
    CHECK(table.changes() == "");
    table.frame(0.31);
    CHECK(table.changes() == "up 1");
}

TEST_CASE("tuio input: a finger that starts inside a card's outline is its ghost, one that slides in later is not")
{
    TestTable table;
    table.cards({{1, 1001, 0.5f, 0.5f}});
    table.frame();
    table.fingers({{1, 0.51f, 0.5f}});
    table.frame();
    CHECK(table.changes() == "");
    CHECK(table.sample.fingers.empty());
    // Also when it moves out from under the card.
    table.fingers({{1, 0.8f, 0.5f}});
    table.frame();
    CHECK(table.sample.fingers.empty());
    table.fingers({{2, 0.9f, 0.5f}});
    table.frame();
    REQUIRE(table.sample.fingers.size() == 1);
    table.fingers({{2, 0.51f, 0.5f}});
    table.frame();
    CHECK(table.sample.fingers.size() == 1);
}

TEST_CASE("tuio input: a card that trembles in its camera lies still, also where its angle passes zero")
{
    Tactile::TuioSettings settings = TestTable::plainSettings();
    settings.tracker.smoothing = true;
    TestTable table(settings);
    float least = 1000.f;
    float most = 0.f;
    for (int i = 0; i < 240; ++i) {
        const float sign = i % 2 == 0 ? 1.f : -1.f;
        const float angle = 0.02f * sign;
        table.cards({{1, 1001, 0.5f + 0.002f * sign, 0.5f, Vecta::wrappedAngle(angle)}});
        table.frame();
        REQUIRE(table.sample.markers.size() == 1);
        if (i < 120)
            continue;
        const Tactile::Marker& card = table.sample.markers[0];
        least = std::min(least, card.centerLocation().x);
        most = std::max(most, card.centerLocation().x);
        // The shortest way between the two angles leads over zero, not over half a turn.
        const float rotation = Vecta::shortestTurn(0.f, card.rotation());
        CHECK(std::abs(rotation) < 0.02f);
    }
    // It is sent 4 pixels to and fro.
    CHECK(most - least < 2.f);
    CHECK(std::abs((most + least) / 2.f - 500.f) < 2.f);
}

TEST_CASE("tuio input: lost, doubled and swapped packets end in the state of the newest")
{
    TestTable table;
    const auto first = TestTable::fingersPacket(1, {{1, 0.1f, 0.5f}});
    const auto second = TestTable::fingersPacket(2, {{1, 0.2f, 0.5f}});
    const auto third = TestTable::fingersPacket(3, {{1, 0.3f, 0.5f}, {2, 0.9f, 0.9f}});
    table.datagrams->send(first);
    table.datagrams->send(first);
    table.datagrams->send(third);
    table.datagrams->send(second);
    table.datagrams->send(third);
    table.frame();
    CHECK(table.changes() == "down 1 down 2 move 1");
    CHECK(table.sample.fingers.at(0).centerLocation().x == doctest::Approx(300));
    CHECK(table.drops(TuioDrop::Late) == 1);
}

TEST_CASE("tuio input: a sender that falls silent is reported, its finger is cancelled and its card leaves")
{
    TestTable table;
    table.cards({{1, 1001, 0.5f, 0.5f}});
    table.fingers({{1, 0.1f, 0.1f}});
    table.frame();
    CHECK(table.changes() == "down 1 down 2");
    table.frame(4.9);
    CHECK(table.changes() == "");
    TestSupport::expectWarning("TuioInput::readSample # Lost the sender a at b (no packet for 5 s); its fingers are cancelled "
                               "and its cards leave the table; check whether it runs");
    table.frame(0.2);
    CHECK(table.changes() == "cancel 2");
    table.frame(0.7);
    CHECK(table.changes() == "up 1");
    CHECK(table.input.counters().sources.at(0).isLost);

    // Back, and quiet: it repeats its alive lists only.
    Tactile::TuioEncoder encoder("a@b");
    encoder.begin(Tactile::TuioProfile::Objects);
    encoder.alive({1});
    table.datagrams->send(encoder.finish(++table.cardFrame));
    table.fingers({{1, 0.2f, 0.1f}});
    table.frame();
    CHECK(table.changes() == "down 1");
    CHECK(table.sample.markers.at(0).centerLocation() == Vecta::Vector2f(500.f, 500.f));
    CHECK(table.sample.fingers.empty());
}

TEST_CASE("tuio input: a quiet sender that repeats its alive list is not lost")
{
    TestTable table;
    table.cards({{1, 1001, 0.5f, 0.5f}});
    for (int second = 0; second < 20; ++second) {
        Tactile::TuioEncoder encoder("a@b");
        encoder.begin(Tactile::TuioProfile::Objects);
        encoder.alive({1});
        table.datagrams->send(encoder.finish(++table.cardFrame));
        table.frame(1.0);
    }
    CHECK(table.sample.markers.size() == 1);
}

TEST_CASE("tuio input: a sender that had nothing on the table goes without a warning")
{
    TestTable table;
    table.fingers({});
    table.frame();
    table.frame(6.0);
    CHECK(TestSupport::loggedLines().back().text == "TuioInput::readSample # The sender a at b has gone (no packet for 5 s)");
    CHECK(TestSupport::loggedLines().back().level == Bedrock::Trace::Level::Info);
}

TEST_CASE("tuio input: a restarted sender cancels its fingers and keeps the card that lies still")
{
    TestTable table;
    table.cardFrame = table.fingerFrame = 1000;
    table.cards({{17, 1001, 0.5f, 0.5f}});
    table.fingers({{18, 0.1f, 0.1f}});
    table.frame();
    table.cardFrame = table.fingerFrame = 0;
    table.cards({{1, 1001, 0.5f, 0.5f}});
    table.fingers({{2, 0.1f, 0.1f}});
    table.frame();
    CHECK(table.changes() == "cancel 2 down 3");
    CHECK(table.sample.markers.at(0).id() == 1);
}

TEST_CASE("tuio input: two tables that see the same card report it once")
{
    TestTable table;
    table.datagrams->send(TestTable::cardsPacket(1, {{1, 1001, 0.5f, 0.5f}}, "left@cam"));
    table.datagrams->send(TestTable::cardsPacket(9, {{4, 1001, 0.51f, 0.5f}}, "right@cam"));
    table.frame();
    CHECK(table.changes() == "down 1");
    table.datagrams->send(TestTable::cardsPacket(2, {}, "left@cam"));
    table.frame();
    table.frame(2.0);
    CHECK(table.sample.markers.size() == 1);
}

TEST_CASE("tuio input: datagrams that no frame takes are dropped whole beyond a limit, and the newest state still comes")
{
    TestTable table;
    std::vector<TestTable::Finger> fingers;
    for (int i = 0; i < 200; ++i)
        fingers.push_back({i, 0.001f * float(i), 0.1f});
    for (int i = 0; i < 1500; ++i) {
        for (auto& f : fingers)
            f.y = 0.1f + 0.0005f * float(i);
        table.fingers(fingers);
    }
    CHECK(table.drops(TuioDrop::QueueFull) > 0);
    TestSupport::expectWarningStartingWith("TuioDecoder::decode # Dropped ");
    table.frame();
    table.fingers({{3, 0.5f, 0.5f}});
    table.frame();
    REQUIRE(table.sample.fingers.size() == 1);
    CHECK(table.sample.fingers[0].centerLocation() == Vecta::Vector2f(500.f, 500.f));
}

TEST_CASE("tuio input: a source that does not start is not kept and says why")
{
    TestTable table;
    auto broken = std::make_unique<TestSupport::ScriptedDatagrams>();
    broken->failToStart("no such thing; get one");
    CHECK_FALSE(table.input.addSource(std::move(broken)));
    CHECK(table.input.errorText() == "no such thing; get one");
    auto good = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto* source = good.get();
    CHECK(table.input.addSource(std::move(good), {0.f, 0.f, 100.f, 100.f}));
    source->send(TestTable::fingersPacket(1, {{1, 0.5f, 0.5f}}));
    table.frame();
    CHECK(table.sample.fingers.at(0).centerLocation() == Vecta::Vector2f(50.f, 50.f));
}

TEST_CASE("tuio input: what has been received can be waited for")
{
    using namespace std::chrono_literals;
    TestTable table;
    CHECK(table.input.waitForDatagrams(0, 0ms));
    CHECK_FALSE(table.input.waitForDatagrams(1, 1ms));
    table.fingers({});
    CHECK(table.input.waitForDatagrams(1, 0ms));
    CHECK(table.input.datagramsReceived() == 1);
    CHECK(table.input.counters().sources.at(0).packets == 1);
}

TEST_CASE("tuio input: what begins in an ignored area is ignored until it is lifted, also when it moves out")
{
    TestTable table;
    table.input.setIgnoredAreas(0, {Tactile::SurfaceArea::ofRect({0.8f, 0.f, 0.2f, 0.2f})});
    table.fingers({{1, 0.9f, 0.1f}});
    table.cards({{1, 1001, 1.04f, 0.1f}}); // beside the surface, and clamped to its rim
    table.frame();
    CHECK(table.changes() == "");
    table.fingers({{1, 0.5f, 0.5f}, {2, 0.5f, 0.1f}});
    table.cards({{1, 1001, 0.5f, 0.8f}});
    table.frame();
    CHECK(table.changes() == "down 1");
    table.fingers({});
    table.cards({});
    table.frame();
    CHECK(table.changes() == "up 1");
    table.cards({{2, 1001, 0.5f, 0.8f}});
    table.frame();
    CHECK(table.changes() == "down 2");
    CHECK(table.drops(TuioDrop::IgnoredArea) == 2);
    CHECK(table.input.counters().sources.at(0).drops[static_cast<std::size_t>(TuioDrop::IgnoredArea)] == 2);
}

TEST_CASE("tuio input: what moves into an ignored area goes on there, and a card is held there as anywhere")
{
    TestTable table;
    table.input.setIgnoredAreas(0, {Tactile::SurfaceArea::ofRect({0.8f, 0.f, 0.2f, 0.2f})});
    table.fingers({{1, 0.5f, 0.1f}});
    table.cards({{1, 1001, 0.5f, 0.8f}});
    table.frame();
    table.fingers({{1, 0.9f, 0.1f}});
    table.cards({{1, 1001, 0.9f, 0.1f}});
    table.frame();
    CHECK(table.changes() == "move 1 move 2");
    table.cards({});
    table.frame(0.3);
    table.cards({{2, 1001, 0.91f, 0.1f}});
    table.frame(0.2);
    CHECK(table.changes() == "move 2");
    // It was lifted: what lies there now begins there.
    table.cards({});
    table.frame(0.1);
    table.frame(0.7);
    CHECK(table.sample.markers.empty());
    table.cards({{3, 1001, 0.91f, 0.1f}});
    table.frame();
    CHECK(table.sample.markers.empty());
}

TEST_CASE("tuio input: a card in an ignored area casts no shadow on fingers beside the area")
{
    TestTable table;
    table.input.setIgnoredAreas(0, {Tactile::SurfaceArea::ofRect({0.8f, 0.f, 0.2f, 0.2f})});
    table.cards({{1, 1001, 0.81f, 0.1f}});
    table.fingers({{1, 0.79f, 0.1f}});
    table.frame();
    CHECK(table.changes() == "down 1");
    CHECK(table.sample.fingers.size() == 1);
}

TEST_CASE("tuio input: an ignored area counts in its own source's surface, wherever that lies on the table")
{
    TestTable table;
    auto second = std::make_unique<TestSupport::ScriptedDatagrams>();
    auto* right = second.get();
    REQUIRE(table.input.addSource(std::move(second), {1000.f, 0.f, 500.f, 500.f}));
    table.input.setIgnoredAreas(1, {Tactile::SurfaceArea{{{0.f, 0.f}, {0.2f, 0.f}, {0.f, 0.2f}}}});
    table.fingers({{1, 0.05f, 0.05f}});
    right->send(TestTable::fingersPacket(1, {{1, 0.05f, 0.05f}, {2, 0.15f, 0.15f}}, "right@cam"));
    table.frame();
    CHECK(table.sample.fingers.size() == 2);
    REQUIRE(table.input.ignoredAreas().size() == 1);
    CHECK(table.input.ignoredAreas()[0].corners == std::vector<Vecta::Vector2f>{{1000.f, 0.f}, {1100.f, 0.f}, {1000.f, 100.f}});
    table.input.setIgnoredAreas(1, {});
    CHECK(table.input.ignoredAreas().empty());
    right->send(TestTable::fingersPacket(2, {{3, 0.05f, 0.05f}}, "right@cam"));
    table.frame();
    CHECK(table.sample.fingers.size() == 2);
}
