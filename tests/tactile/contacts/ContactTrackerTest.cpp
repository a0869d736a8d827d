#include "LogCapture.hpp"
#include "TestTable.hpp"

#include <Tactile/ContactTracker.hpp>
#include <Tactile/Sample.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <sstream>
#include <string>
#include <vector>

using Tactile::ContactEvent;
using Tactile::TrackedObject;
using Kind = Tactile::ContactEvent::Kind;

namespace
{
/// A pixel is a millimetre; smoothing off.
Tactile::TrackerSettings plainSettings()
{
    Tactile::TrackerSettings settings;
    settings.pixelPitchMm = 1.f;
    settings.smoothing = false;
    return settings;
}

ContactEvent event(Kind kind, TrackedObject::Type type, std::int32_t session, Vecta::Vector2f point, std::uint64_t code,
                   float angle, std::uint16_t source)
{
    ContactEvent e;
    e.kind = kind;
    e.type = type;
    e.key = {source, static_cast<std::uint8_t>(type == TrackedObject::Type::Marker ? 0 : 1), session};
    e.position = point;
    e.code = code;
    e.rotationRadians = angle;
    return e;
}

ContactEvent card(Kind kind, std::int32_t session, Vecta::Vector2f point = {}, std::uint64_t code = 1001, float angle = 0.f,
                  std::uint16_t source = 0)
{
    return event(kind, TrackedObject::Type::Marker, session, point, code, angle, source);
}

ContactEvent finger(Kind kind, std::int32_t session, Vecta::Vector2f point = {}, std::uint16_t source = 0)
{
    return event(kind, TrackedObject::Type::Finger, session, point, 0, 0.f, source);
}

ContactEvent seen(std::uint16_t source = 0)
{
    ContactEvent e;
    e.key.source = source;
    return e;
}

struct Bench
{
    explicit Bench(const Tactile::TrackerSettings& settings = plainSettings()) : tracker(settings) {}

    /// The changes of a frame in short.
    std::string frame(double now, const std::vector<ContactEvent>& events = {})
    {
        tracker.update(now, events, sample);
        return TestTable::changesOf(sample);
    }

    Tactile::ContactTracker tracker;
    Tactile::Sample sample;
};

/// Reads "card+ 1 100 100, finger 7 20 10": a kind with + for Appear, - for Vanish, ! for Cancel, else Move; the session, the
/// place, and for a card its code where that is not 1001.
std::vector<ContactEvent> eventsOf(const std::string& text)
{
    std::vector<ContactEvent> events;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        std::istringstream words(part);
        std::string kind;
        std::int32_t session = 0;
        words >> kind >> session;
        REQUIRE_FALSE(words.fail());
        Vecta::Vector2f point;
        std::uint64_t code = 1001;
        if (words >> point.x >> point.y && !(words >> code))
            code = 1001;
        const char sign = kind.back();
        const Kind what = sign == '+' ? Kind::Appear : sign == '-' ? Kind::Vanish : sign == '!' ? Kind::Cancel : Kind::Move;
        events.push_back(kind.rfind("card", 0) == 0 ? card(what, session, point, code) : finger(what, session, point));
    }
    return events;
}

/// What lies on the table: "1 at 100 100, finger 3 at 20 10".
std::string tableOf(const Tactile::Sample& sample)
{
    std::ostringstream text;
    for (const auto& marker : sample.markers)
        text << (text.tellp() > 0 ? ", " : "") << marker.id() << " at " << marker.centerLocation().x << ' '
             << marker.centerLocation().y;
    for (const auto& object : sample.fingers)
        text << (text.tellp() > 0 ? ", " : "") << "finger " << object.id() << " at " << object.centerLocation().x << ' '
             << object.centerLocation().y;
    return text.str();
}

struct Step
{
    double now;
    const char* events;
    const char* changes;
    const char* table = nullptr;   ///< null: not compared
    const char* warning = nullptr; ///< the second place of the marker that is on the table twice
};

struct Row
{
    const char* claim;
    std::vector<Step> steps;
};

void check(const std::vector<Row>& rows, const Tactile::TrackerSettings& settings = plainSettings())
{
    for (const Row& row : rows) {
        CAPTURE(row.claim);
        Bench bench(settings);
        for (const Step& step : row.steps) {
            CAPTURE(step.now);
            if (step.warning)
                TestSupport::expectWarning("ContactTracker::update # Marker 1001 is on the table twice (at "
                                           + std::string(step.warning)
                                           + "); the second is taken as another card, give each card a code of its own");
            CHECK(bench.frame(step.now, eventsOf(step.events)) == step.changes);
            if (step.table)
                CHECK(tableOf(bench.sample) == step.table);
        }
    }
}
}

TEST_CASE("contact tracker: fingers come, move and go as their tracker sees them")
{
    check({
        {"a finger has a new id at each touch, never one that another thing had",
         {{0, "finger+ 7 10 10", "down 1"},
          {1, "card+ 1 500 500", "down 2"},
          {2, "finger- 7", "up 1"},
          {3, "finger+ 7 10 10", "down 3"}}},
        {"a down and an up within one frame both arrive, in order",
         {{0, "finger+ 7 10 10, finger- 7", "down 1 up 1", ""},
          {1, "finger+ 8 10 10, finger 8 300 10, finger- 8", "down 2 move 2 up 2", ""}}},
        {"several moves within one frame are one, to the last place",
         {{0, "finger+ 7 10 10", "down 1"},
          {1, "finger 7 20 10, finger 7 30 10", "move 1", "finger 1 at 30 10"},
          {2, "", "", "finger 1 at 30 10"}}},
        {"a finger is not held", {{0, "finger+ 7 10 10", "down 1"}, {0.1, "finger- 7", "up 1", ""}}},
        {"a finger that starts in a marker's outline is its shadow until it is lifted",
         {{0, "card+ 1 500 500", "down 1"},
          {1, "finger+ 1 530 510", ""},
          {2, "finger 1 900 900", ""},
          {3, "finger- 1", ""},
          {4, "finger+ 2 541 500", "down 2"},
          {5, "finger 2 500 500", "move 2"}}},
        {"a shadow reported before its card in the same frame is one, too",
         {{0, "finger+ 1 500 500, card+ 1 500 500", "down 1", "1 at 500 500"}}},
        {"a held marker still has its outline, one that left has none",
         {{0, "card+ 1 500 500", "down 1"},
          {1, "card- 1", ""},
          {1.3, "finger+ 1 500 500", ""},
          {2, "", "up 1"},
          {3, "finger+ 2 500 500", "down 2"}}},
        {"a finger that starts where a card is about to be put down is its shadow",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", ""},
          {1.1, "finger+ 1 300 100, card+ 2 300 100", "up 1"},
          {1.2, "finger+ 2 305 100", "down 1"}}},
        {"contacts of a former run of the sender are cancelled or held",
         {{0, "card+ 1 500 500, finger+ 1 100 100", "down 1 down 2"},
          {1, "finger! 1, card! 1", "cancel 2"},
          {1.2, "card+ 1 500 500", ""}}},
    });
}

TEST_CASE("contact tracker: the place of a move and an up within one frame is the last")
{
    Bench bench;
    bench.frame(0, eventsOf("finger+ 8 10 10, finger 8 300 10, finger- 8"));
    REQUIRE(bench.sample.changes.size() == 3);
    CHECK(bench.sample.changes[1].object.centerLocation() == Vecta::Vector2f(300, 10));
    CHECK(bench.sample.changes[2].object.centerLocation() == Vecta::Vector2f(300, 10));
}

TEST_CASE("contact tracker: a card that drops out is held for a while, and is the same when it is put back")
{
    check({
        {"a card's dropout is not seen",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", "", "1 at 100 100"},
          {1.59, "", ""},
          {1.595, "card+ 2 100 100", "", "1 at 100 100"},
          {10.0, "", ""},
          {10.1, "card 2 110 100", "move 1"}}},
        {"a card that changes its session within one frame goes on",
         {{0, "card+ 1 100 100", "down 1"},
          {1, "card- 1, card+ 2 100 100", ""},
          {2, "card+ 3 100 100, card- 2", ""},
          {5, "", "", "1 at 100 100"}}},
        {"a card leaves when its hold is over, and has its id again later",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", ""},
          {1.5999, "", ""},
          {1.6, "", "up 1", ""},
          {1.7, "finger+ 9 900 900", "down 2"},
          {60, "card+ 2 700 100", "down 1"},
          {61, "card+ 3 100 100 1002", "down 3"}}},
        {"a held card back within 40 mm moves there under its id, further away it was lifted",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", ""},
          {1.1, "card+ 2 139 100", "move 1"},
          {1.2, "card- 2", ""},
          {1.3, "card+ 3 181 100", "up 1", ""},
          {1.4, "", "down 1", "1 at 181 100"}}},
        {"a card that is back elsewhere comes one frame later, with what was reported of it meanwhile",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", ""},
          {1.1, "card+ 2 300 100, card 2 310 100", "up 1"},
          {1.2, "card 2 320 100", "down 1 move 1", "1 at 320 100"}}},
        {"a card that is back elsewhere for less than a frame comes one frame later, and is held",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", ""},
          {1.1, "card+ 2 300 100, card- 2", "up 1"},
          {1.2, "", "down 1"},
          {1.9, "", "up 1"}}},
        {"a card that is back at two places comes one frame later, twice",
         {{0, "card+ 1 100 100", "down 1"},
          {1.0, "card- 1", ""},
          {1.1, "card- 1, card+ 2 300 100, card+ 3 600 100", "up 1"},
          {1.2, "", "down 1 down 2", nullptr, "300, 100 and at 600, 100"}}},
        {"another code in the place of a held card is another card",
         {{0, "card+ 1 100 100", "down 1"}, {1.0, "card- 1", ""}, {1.1, "card+ 2 100 100 1002", "down 2"}, {1.6, "", "up 1"}}},
        {"a card back in the frame in which its hold would end was never gone",
         {{0, "card+ 1 100 100", "down 1"}, {1.0, "card- 1", ""}, {3.0, "card+ 2 100 100", ""}}},
        {"cards stand in the order in which they were put down",
         {{0, "card+ 1 100 100 3, card+ 2 300 100 2", "down 1 down 2"},
          {1, "card+ 3 500 100 1", "down 3"},
          {2, "card- 1", ""},
          {2.1, "card+ 4 100 100 3", "", "1 at 100 100, 2 at 300 100, 3 at 500 100"}}},
    });
}

TEST_CASE("contact tracker: the time of the hold and the pixel pitch are settings")
{
    auto withoutHold = plainSettings();
    withoutHold.holdSeconds = 0.0;
    check({{"no hold", {{0, "card+ 1 100 100", "down 1"}, {1.0, "card- 1", "up 1"}}}}, withoutHold);
    auto finePitch = plainSettings();
    finePitch.pixelPitchMm = 0.5f;
    check({{"40 mm are 80 pixels", {{0, "card+ 1 100 100", "down 1"}, {1.0, "card- 1", ""}, {1.1, "card+ 2 179 100", "move 1"}}}},
          finePitch);
}

TEST_CASE("contact tracker: one code at two places is two cards, unless they are near")
{
    check({
        {"far apart it is two cards: the first stays, and it is logged once",
         {{0, "card+ 1 100 100", "down 1"},
          {1, "card+ 2 500 100", "down 2", "1 at 100 100, 2 at 500 100", "100, 100 and at 500, 100"},
          {2, "card- 2", ""},
          {2.6, "", "up 2"},
          {3, "card+ 3 500 100", "down 2"},
          // The first is lifted: a single card has the first id again.
          {4, "card- 1, card- 3", ""},
          {5, "", "up 1 up 2"},
          {6, "card+ 4 800 800", "down 1"}}},
        {"near each other it is one card, as long as either session shows it",
         {{0, "card+ 1 100 100, card+ 2 105 100", "down 1", "1 at 100 100"},
          {1, "card 2 106 100", ""},
          {2, "card- 1", "move 1", "1 at 106 100"},
          {9, "", ""},
          {10, "card- 2", ""},
          {10.6, "", "up 1"}}},
        {"two sightings that part are two cards",
         {{0, "card+ 1 100 100, card+ 2 105 100", "down 1"},
          {1, "card 2 500 100", "down 2", nullptr, "100, 100 and at 500, 100"},
          {2, "card 2 510 100", "move 2", "1 at 100 100, 2 at 510 100"}}},
    });
}

TEST_CASE("contact tracker: a sender silent for 5 s loses its fingers without a tap, and its markers after their hold")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {500, 500}), finger(Kind::Appear, 1, {100, 100}), seen(0)});
    bench.frame(0.1, {finger(Kind::Appear, 5, {900, 900}, 1), seen(1)});
    CHECK(bench.frame(4.9, {seen(1)}) == "");
    CHECK(bench.tracker.lostSources().empty());
    CHECK(bench.frame(5.0) == "cancel 2");
    REQUIRE(bench.tracker.lostSources().size() == 1);
    CHECK(bench.tracker.lostSources()[0].source == 0);
    CHECK(bench.tracker.lostSources()[0].hadContacts);
    CHECK(bench.sample.fingers.size() == 1);
    CHECK(bench.frame(5.5) == "");
    CHECK(bench.tracker.lostSources().empty());
    CHECK(bench.frame(5.6) == "up 1");
}

TEST_CASE("contact tracker: a sender that was never there is not lost, whatever the numbers of the others")
{
    Bench bench;
    bench.frame(0, {seen(2)});
    bench.frame(6.0);
    REQUIRE(bench.tracker.lostSources().size() == 1);
    CHECK(bench.tracker.lostSources()[0].source == 2);
    CHECK_FALSE(bench.tracker.lostSources()[0].hadContacts);
}

TEST_CASE("contact tracker: a sender that is back during the hold finds its markers as they were")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {500, 500}), seen(0)});
    bench.frame(5.0);
    CHECK(bench.frame(5.3, {card(Kind::Appear, 1, {500, 500}), seen(0)}) == "");
    CHECK(bench.frame(9.0) == "");
}

TEST_CASE("contact tracker: smoothing calms a trembling card and ends where the card is")
{
    auto settings = plainSettings();
    settings.smoothing = true;
    Bench bench(settings);
    double now = 0;
    bench.frame(now, {card(Kind::Appear, 1, {500, 500})});
    float most = 0.f;
    for (int i = 0; i < 120; ++i) {
        bench.frame(now += 1.0 / 60, {card(Kind::Move, 1, {500.f + (i % 2 ? 0.6f : -0.6f), 500.f})});
        most = std::max(most, std::abs(bench.sample.markers[0].centerLocation().x - 500.f));
    }
    CHECK(most < 0.4f);

    bench.frame(now += 1.0 / 60, {card(Kind::Move, 1, {600, 500})});
    const float first = bench.sample.markers[0].centerLocation().x;
    CHECK(first > 500.f);
    CHECK(first < 600.f);
    int moves = 0;
    while (!bench.frame(now += 1.0 / 60).empty())
        REQUIRE(++moves < 600);
    CHECK(moves > 0);
    CHECK(bench.sample.markers[0].centerLocation().x == doctest::Approx(600.f).epsilon(0.001));
}

TEST_CASE("contact tracker: smoothing turns a card by the shortest arc")
{
    auto settings = plainSettings();
    settings.smoothing = true;
    Bench bench(settings);
    double now = 0;
    bench.frame(now, {card(Kind::Appear, 1, {500, 500}, 1001, 6.2f)});
    bench.frame(now += 1.0 / 60, {card(Kind::Move, 1, {500, 500}, 1001, 0.1f)});
    for (int i = 0; i < 200; ++i) {
        const float angle = bench.sample.markers[0].rotation();
        CHECK((angle >= 6.19f || angle <= 0.11f));
        bench.frame(now += 1.0 / 60);
    }
    CHECK(bench.sample.markers[0].rotation() == doctest::Approx(0.1f).epsilon(0.03));
}

TEST_CASE("contact tracker: a half turn within one frame comes to its end")
{
    auto settings = plainSettings();
    settings.smoothing = true;
    Bench bench(settings);
    double now = 0;
    bench.frame(now, {card(Kind::Appear, 1, {500, 500}, 1001, 0.f)});
    bench.frame(now += 1.0 / 60, {card(Kind::Move, 1, {500, 500}, 1001, Vecta::kPiOf<float>)});
    for (int i = 0; i < 300; ++i)
        bench.frame(now += 1.0 / 60);
    CHECK(bench.sample.markers[0].rotation() == doctest::Approx(Vecta::kPi).epsilon(0.01));
}

TEST_CASE("contact tracker: the same frames with the same times give the same places")
{
    auto settings = plainSettings();
    settings.smoothing = true;
    const auto run = [&settings] {
        Bench bench(settings);
        std::vector<Vecta::Vector2f> places;
        bench.frame(0, {finger(Kind::Appear, 1, {0, 0})});
        for (int i = 1; i < 50; ++i) {
            bench.frame(i * 0.02, {finger(Kind::Move, 1, {float(i * i), float(i)})});
            places.push_back(bench.sample.fingers.at(0).centerLocation());
        }
        return places;
    };
    const auto first = run();
    CHECK(first == run());
    CHECK(first.back().x != 49.f * 49.f);
}
