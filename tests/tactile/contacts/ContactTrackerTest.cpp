#include "LogCapture.hpp"

#include <Tactile/ContactTracker.hpp>
#include <Tactile/Sample.hpp>

#include <doctest/doctest.h>

#include <string>

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

    /// The changes of a frame in short: "down 1 move 2".
    std::string frame(double now, const std::vector<ContactEvent>& events = {})
    {
        tracker.update(now, events, sample);
        static const char* const kNames[] = {"down", "move", "up", "cancel"};
        std::string text;
        for (const Tactile::InputChange& change : sample.changes)
            text += (text.empty() ? "" : " ") + std::string(kNames[static_cast<int>(change.kind)]) + ' '
                + std::to_string(change.object.id());
        return text;
    }

    Tactile::ContactTracker tracker;
    Tactile::Sample sample;
};

const char* const kTwiceAt100And500 =
    "ContactTracker::update # Marker 1001 is on the table twice (at 100, 100 and at 500, 100); the second is taken as "
    "another card, give each card a code of its own";
}

TEST_CASE("contact tracker: a finger has a new id at each touch, never one that another thing had")
{
    Bench bench;
    CHECK(bench.frame(0, {finger(Kind::Appear, 7, {10, 10})}) == "down 1");
    CHECK(bench.frame(1, {card(Kind::Appear, 1, {500, 500})}) == "down 2");
    CHECK(bench.frame(2, {finger(Kind::Vanish, 7)}) == "up 1");
    CHECK(bench.frame(3, {finger(Kind::Appear, 7, {10, 10})}) == "down 3");
}

TEST_CASE("contact tracker: a down and an up within one frame both arrive, in order")
{
    Bench bench;
    CHECK(bench.frame(0, {finger(Kind::Appear, 7, {10, 10}), finger(Kind::Vanish, 7)}) == "down 1 up 1");
    CHECK(bench.sample.fingers.empty());
    CHECK(bench.frame(1, {finger(Kind::Appear, 8, {10, 10}), finger(Kind::Move, 8, {300, 10}), finger(Kind::Vanish, 8)})
          == "down 2 move 2 up 2");
    CHECK(bench.sample.changes[1].object.centerLocation() == Vecta::Vector2f(300, 10));
    CHECK(bench.sample.changes[2].object.centerLocation() == Vecta::Vector2f(300, 10));
}

TEST_CASE("contact tracker: several moves within one frame are one, to the last place")
{
    Bench bench;
    bench.frame(0, {finger(Kind::Appear, 7, {10, 10})});
    CHECK(bench.frame(1, {finger(Kind::Move, 7, {20, 10}), finger(Kind::Move, 7, {30, 10})}) == "move 1");
    CHECK(bench.sample.fingers.at(0).centerLocation() == Vecta::Vector2f(30, 10));
    CHECK(bench.frame(2) == "");
    CHECK(bench.sample.fingers.size() == 1);
}

TEST_CASE("contact tracker: a finger is not held")
{
    Bench bench;
    bench.frame(0, {finger(Kind::Appear, 7, {10, 10})});
    CHECK(bench.frame(0.1, {finger(Kind::Vanish, 7)}) == "up 1");
    CHECK(bench.sample.fingers.empty());
}

TEST_CASE("contact tracker: nothing sees a card's dropout")
{
    Bench bench;
    CHECK(bench.frame(0, {card(Kind::Appear, 1, {100, 100})}) == "down 1");
    CHECK(bench.frame(1.0, {card(Kind::Vanish, 1)}) == "");
    REQUIRE(bench.sample.markers.size() == 1);
    CHECK(bench.frame(1.59) == "");
    CHECK(bench.frame(1.595, {card(Kind::Appear, 2, {100, 100})}) == "");
    REQUIRE(bench.sample.markers.size() == 1);
    CHECK(bench.sample.markers[0].id() == 1);
    CHECK(bench.frame(10.0) == "");
    CHECK(bench.frame(10.1, {card(Kind::Move, 2, {110, 100})}) == "move 1");
}

TEST_CASE("contact tracker: a card that changes its session within one frame goes on")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    CHECK(bench.frame(1, {card(Kind::Vanish, 1), card(Kind::Appear, 2, {100, 100})}) == "");
    CHECK(bench.frame(2, {card(Kind::Appear, 3, {100, 100}), card(Kind::Vanish, 2)}) == "");
    CHECK(bench.frame(5) == "");
    CHECK(bench.sample.markers.size() == 1);
}

TEST_CASE("contact tracker: a card leaves when its hold is over, and has its id again later")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    bench.frame(1.0, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(1.5999) == "");
    CHECK(bench.frame(1.6) == "up 1");
    CHECK(bench.sample.markers.empty());
    bench.frame(1.7, {finger(Kind::Appear, 9, {900, 900})});
    CHECK(bench.frame(60, {card(Kind::Appear, 2, {700, 100})}) == "down 1");
    CHECK(bench.frame(61, {card(Kind::Appear, 3, {100, 100}, 1002)}) == "down 3");
}

TEST_CASE("contact tracker: the time of the hold is a setting")
{
    auto settings = plainSettings();
    settings.holdSeconds = 0.0;
    Bench bench(settings);
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    CHECK(bench.frame(1.0, {card(Kind::Vanish, 1)}) == "up 1");
}

TEST_CASE("contact tracker: a held card back within 40 mm moves there under its id, further away it was lifted")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    bench.frame(1.0, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(1.1, {card(Kind::Appear, 2, {139, 100})}) == "move 1");
    bench.frame(1.2, {card(Kind::Vanish, 2)});
    CHECK(bench.frame(1.3, {card(Kind::Appear, 3, {181, 100})}) == "up 1");
    CHECK(bench.sample.markers.empty());
    CHECK(bench.frame(1.4) == "down 1");
    CHECK(bench.sample.markers.size() == 1);
}

TEST_CASE("contact tracker: a card that is back elsewhere comes one frame later, with what was said of it meanwhile")
{
    const auto lifted = [](Bench& bench) {
        bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
        bench.frame(1.0, {card(Kind::Vanish, 1)});
    };
    Bench moved;
    lifted(moved);
    CHECK(moved.frame(1.1, {card(Kind::Appear, 2, {300, 100}), card(Kind::Move, 2, {310, 100})}) == "up 1");
    CHECK(moved.frame(1.2, {card(Kind::Move, 2, {320, 100})}) == "down 1 move 1");
    REQUIRE(moved.sample.markers.size() == 1);
    CHECK(moved.sample.markers[0].centerLocation() == Vecta::Vector2f(320, 100));

    Bench gone;
    lifted(gone);
    CHECK(gone.frame(1.1, {card(Kind::Appear, 2, {300, 100}), card(Kind::Vanish, 2)}) == "up 1");
    CHECK(gone.frame(1.2) == "down 1");
    CHECK(gone.frame(1.9) == "up 1");

    Bench changed;
    lifted(changed);
    CHECK(changed.frame(1.1, {card(Kind::Vanish, 1), card(Kind::Appear, 2, {300, 100}), card(Kind::Appear, 3, {600, 100})})
          == "up 1");
    TestSupport::expectWarning("ContactTracker::update # Marker 1001 is on the table twice (at 300, 100 and at 600, 100); "
                               "the second is taken as another card, give each card a code of its own");
    CHECK(changed.frame(1.2) == "down 1 down 2");
}

TEST_CASE("contact tracker: a finger that starts where a card is about to be put down is its shadow")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    bench.frame(1.0, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(1.1, {finger(Kind::Appear, 1, {300, 100}), card(Kind::Appear, 2, {300, 100})}) == "up 1");
    CHECK(bench.frame(1.2, {finger(Kind::Appear, 2, {305, 100})}) == "down 1");
}

TEST_CASE("contact tracker: the pixel pitch says how far 40 mm are")
{
    auto settings = plainSettings();
    settings.pixelPitchMm = 0.5f; // 80 pixels
    Bench bench(settings);
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    bench.frame(1.0, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(1.1, {card(Kind::Appear, 2, {179, 100})}) == "move 1");
}

TEST_CASE("contact tracker: another code in the place of a held card is another card")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    bench.frame(1.0, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(1.1, {card(Kind::Appear, 2, {100, 100}, 1002)}) == "down 2");
    CHECK(bench.frame(1.6) == "up 1");
}

TEST_CASE("contact tracker: a card back in the frame in which its hold would end was never gone")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    bench.frame(1.0, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(3.0, {card(Kind::Appear, 2, {100, 100})}) == "");
}

TEST_CASE("contact tracker: markers stand in the order in which they were put down")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100}, 3), card(Kind::Appear, 2, {300, 100}, 2)});
    bench.frame(1, {card(Kind::Appear, 3, {500, 100}, 1)});
    bench.frame(2, {card(Kind::Vanish, 1)});
    bench.frame(2.1, {card(Kind::Appear, 4, {100, 100}, 3)});
    REQUIRE(bench.sample.markers.size() == 3);
    CHECK(bench.sample.markers[0].code() == 3);
    CHECK(bench.sample.markers[1].code() == 2);
    CHECK(bench.sample.markers[2].code() == 1);
}

TEST_CASE("contact tracker: a code twice on the table is two cards, the first stays and it is logged once")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100})});
    TestSupport::expectWarning(kTwiceAt100And500);
    CHECK(bench.frame(1, {card(Kind::Appear, 2, {500, 100})}) == "down 2");
    CHECK(bench.sample.markers.size() == 2);
    CHECK(bench.frame(2, {card(Kind::Vanish, 2)}) == "");
    CHECK(bench.frame(2.6) == "up 2");
    CHECK(bench.frame(3, {card(Kind::Appear, 3, {500, 100})}) == "down 2");
    // The first is lifted: a single card has the first id again.
    bench.frame(4, {card(Kind::Vanish, 1), card(Kind::Vanish, 3)});
    bench.frame(5);
    CHECK(bench.frame(6, {card(Kind::Appear, 4, {800, 800})}) == "down 1");
}

TEST_CASE("contact tracker: one card seen under two sessions is one card, as long as either sees it")
{
    Bench bench;
    CHECK(bench.frame(0, {card(Kind::Appear, 1, {100, 100}), card(Kind::Appear, 2, {105, 100})}) == "down 1");
    CHECK(bench.sample.markers.size() == 1);
    CHECK(bench.frame(1, {card(Kind::Move, 2, {106, 100})}) == "");
    CHECK(bench.frame(2, {card(Kind::Vanish, 1)}) == "move 1");
    CHECK(bench.sample.markers.at(0).centerLocation() == Vecta::Vector2f(106, 100));
    CHECK(bench.frame(9) == "");
    bench.frame(10, {card(Kind::Vanish, 2)});
    CHECK(bench.frame(10.6) == "up 1");
}

TEST_CASE("contact tracker: two sightings of one code that part are two cards")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {100, 100}), card(Kind::Appear, 2, {105, 100})});
    TestSupport::expectWarning(kTwiceAt100And500);
    CHECK(bench.frame(1, {card(Kind::Move, 2, {500, 100})}) == "down 2");
    CHECK(bench.frame(2, {card(Kind::Move, 2, {510, 100})}) == "move 2");
    CHECK(bench.sample.markers.size() == 2);
}

TEST_CASE("contact tracker: a finger that starts in a marker's outline is its shadow")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {500, 500})});
    CHECK(bench.frame(1, {finger(Kind::Appear, 1, {530, 510})}) == "");
    CHECK(bench.frame(2, {finger(Kind::Move, 1, {900, 900})}) == "");
    CHECK(bench.frame(3, {finger(Kind::Vanish, 1)}) == "");
    CHECK(bench.frame(4, {finger(Kind::Appear, 2, {541, 500})}) == "down 2");
    CHECK(bench.frame(5, {finger(Kind::Move, 2, {500, 500})}) == "move 2");
}

TEST_CASE("contact tracker: a shadow reported ahead of its card in the same frame is one too")
{
    Bench bench;
    CHECK(bench.frame(0, {finger(Kind::Appear, 1, {500, 500}), card(Kind::Appear, 1, {500, 500})}) == "down 1");
    CHECK(bench.sample.fingers.empty());
}

TEST_CASE("contact tracker: a held marker still has its outline, one that left has none")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {500, 500})});
    bench.frame(1, {card(Kind::Vanish, 1)});
    CHECK(bench.frame(1.3, {finger(Kind::Appear, 1, {500, 500})}) == "");
    CHECK(bench.frame(2) == "up 1");
    CHECK(bench.frame(3, {finger(Kind::Appear, 2, {500, 500})}) == "down 2");
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

TEST_CASE("contact tracker: a sender that is back during the hold finds its markers as they were")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {500, 500}), seen(0)});
    bench.frame(5.0);
    CHECK(bench.frame(5.3, {card(Kind::Appear, 1, {500, 500}), seen(0)}) == "");
    CHECK(bench.frame(9.0) == "");
}

TEST_CASE("contact tracker: what belonged to a former run of its sender is cancelled or held")
{
    Bench bench;
    bench.frame(0, {card(Kind::Appear, 1, {500, 500}), finger(Kind::Appear, 1, {100, 100})});
    CHECK(bench.frame(1, {finger(Kind::Cancel, 1), card(Kind::Cancel, 1)}) == "cancel 2");
    CHECK(bench.frame(1.2, {card(Kind::Appear, 1, {500, 500})}) == "");
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
    bench.frame(now += 1.0 / 60, {card(Kind::Move, 1, {500, 500}, 1001, 3.14159265f)});
    for (int i = 0; i < 300; ++i)
        bench.frame(now += 1.0 / 60);
    CHECK(bench.sample.markers[0].rotation() == doctest::Approx(3.14159265f).epsilon(0.01));
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
