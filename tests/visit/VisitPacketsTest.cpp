#include "TestTable.hpp"

#include <VisitPackets.hpp>

#include <doctest/doctest.h>

namespace
{
/// Plays a script into a table, a frame each 1/60 s.
struct Theatre
{
    explicit Theatre(const char* text, Visit::TuioVersion version = Visit::TuioVersion::One)
        : player(parse(text)), packets("a@b", version)
    {
    }

    static Visit::Script parse(const char* text)
    {
        auto parsed = Visit::parseScript(text);
        REQUIRE(parsed.errors.empty());
        return parsed.script;
    }

    /// Packets sent.
    int step()
    {
        int count = 0;
        packets.send(player.frameAt(seconds), seconds, [&](const std::vector<char>& packet) {
            table.datagrams->send(packet);
            ++count;
        });
        table.frame();
        seconds += 1.0 / 60;
        return count;
    }

    Visit::Player player;
    Visit::Packets packets;
    TestTable table;
    double seconds = 0.0;
};
}

TEST_CASE("visit packets: a script's cards and fingers arrive on a table")
{
    Theatre theatre("size 1000 1000\n"
                    "at 0.0 card 1001 down 500 500 angle 90\n"
                    "at 0.2 finger 1 down 100 200\n"
                    "at 0.3 finger 1 move 300 400 over 0.5\n"
                    "at 1.0 finger 1 up\n"
                    "at 1.2 card 1001 up\n");
    std::string story;
    Vecta::Vector2f last;
    while (theatre.seconds < 2.0) {
        theatre.step();
        for (const auto& change : theatre.table.sample.changes) {
            if (change.kind == Tactile::InputChange::Kind::Move)
                last = change.object.centerLocation();
            else
                story += (story.empty() ? "" : " ")
                    + std::string(change.kind == Tactile::InputChange::Kind::Down ? "down " : "up ")
                    + (change.object.isMarker() ? "card" : "finger");
        }
    }
    CHECK(story == "down card down finger up finger up card");
    CHECK(last.x == doctest::Approx(300));
    CHECK(last.y == doctest::Approx(400));
}

TEST_CASE("visit packets: only what changed is sent, and the whole once a second")
{
    Theatre theatre("at 0 card 1001 down 500 500\n");
    CHECK(theatre.step() == 2);
    int packets = 0;
    for (int i = 0; i < 59; ++i)
        packets += theatre.step();
    CHECK(packets == 0);
    packets = 0;
    for (int i = 0; i < 60; ++i)
        packets += theatre.step();
    CHECK(packets == 2);
    CHECK(theatre.table.sample.markers.size() == 1);
}

TEST_CASE("visit packets: a lost packet is made good within a second")
{
    Theatre theatre("at 0.5 card 1001 down 500 500\n");
    while (theatre.seconds < 0.45)
        theatre.step();
    while (theatre.seconds < 0.6) { // lost on the way
        theatre.packets.send(theatre.player.frameAt(theatre.seconds), theatre.seconds, [](const std::vector<char>&) {});
        theatre.seconds += 1.0 / 60;
    }
    theatre.step();
    CHECK(theatre.table.sample.markers.empty());
    while (theatre.seconds < 1.1)
        theatre.step();
    CHECK(theatre.table.sample.markers.size() == 1);
}

TEST_CASE("visit packets: each frame of a visit is the same in both versions of TUIO")
{
    const char* const script = "size 1000 1000\n"
                               "at 0.0 card 1001 down 500 500 angle 90\n"
                               "at 0.2 finger 1 down 100 200\n"
                               "at 0.3 finger 1 move 300 400 over 0.5\n"
                               "at 0.5 finger 2 tap 800 800\n"
                               "at 0.7 card 1002 down 800 200\n"
                               "at 0.9 card 1001 move 300 700 angle 180 over 0.5\n"
                               "at 1.0 finger 1 up\n"
                               "at 1.5 card 1001 up\n";
    Theatre one(script);
    Theatre two(script, Visit::TuioVersion::Two);
    int changes = 0;
    while (one.seconds < 3.0) {
        one.step();
        two.step();
        CAPTURE(one.seconds);
        REQUIRE(one.table.changes() == two.table.changes());
        REQUIRE(one.table.sample.markers.size() == two.table.sample.markers.size());
        REQUIRE(one.table.sample.fingers.size() == two.table.sample.fingers.size());
        for (std::size_t i = 0; i < one.table.sample.markers.size(); ++i) {
            REQUIRE(one.table.sample.markers[i].centerLocation() == two.table.sample.markers[i].centerLocation());
            REQUIRE(one.table.sample.markers[i].rotation() == two.table.sample.markers[i].rotation());
            REQUIRE(one.table.sample.markers[i].code() == two.table.sample.markers[i].code());
        }
        for (std::size_t i = 0; i < one.table.sample.fingers.size(); ++i)
            REQUIRE(one.table.sample.fingers[i].centerLocation() == two.table.sample.fingers[i].centerLocation());
        changes += int(one.table.sample.changes.size());
    }
    CHECK(changes > 60);
    CHECK(two.table.sample.markers.size() == 1);
}

TEST_CASE("visit packets: as TUIO 2.0 a frame is one packet, and only what changed is in it")
{
    Theatre theatre("at 0 card 1001 down 500 500\nat 0.5 finger 1 down 100 100\n", Visit::TuioVersion::Two);
    CHECK(theatre.step() == 1);
    int packets = 0;
    for (int i = 0; i < 58; ++i)
        packets += theatre.step();
    CHECK(packets == 1);
    CHECK(theatre.table.sample.fingers.size() == 1);
}

TEST_CASE("visit packets: another visit of the same name counts from its first packet on, told by the time it began")
{
    for (const auto version : {Visit::TuioVersion::One, Visit::TuioVersion::Two}) {
        Theatre theatre("at 0 card 1001 down 500 500\nat 0.3 card 1001 up\n", version);
        while (theatre.seconds < 0.4)
            theatre.step();
        theatre.player = Visit::Player(Theatre::parse("at 0 finger 1 tap 100 100\n"));
        theatre.packets = Visit::Packets("a@b", version, 3.0);
        theatre.seconds = 0.0;
        theatre.step();
        CHECK(theatre.table.sample.fingers.size() == 1);
    }
}
