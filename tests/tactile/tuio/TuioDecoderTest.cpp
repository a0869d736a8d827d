#include "TuioBench.hpp"

#include <Tactile/OscWriter.hpp>
#include <Vecta/Angle.hpp>

#include <doctest/doctest.h>

#include <random>
#include <string>

using Tactile::ContactEvent;
using Tactile::SenderAddress;
using Tactile::TuioDecoder;
using Tactile::TuioDrop;
using Tactile::TuioEncoder;
using Tactile::TuioProfile;
using TestTuio::Bench;
using TestTuio::cards;
using TestTuio::fingers;

namespace
{
/// A single message of ints and floats after its command.
std::vector<char> single(const std::string& address, const std::string& tags, const std::string& command,
                         const std::vector<double>& arguments)
{
    Tactile::OscWriter writer;
    writer.beginMessage(address, tags);
    writer.add(command);
    // Without type tags: the first argument of a set is the session.
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool isInt = tags.empty() ? command != "set" || i == 0 : i + 2 < tags.size() && tags[i + 2] == 'i';
        if (isInt)
            writer.add(static_cast<std::int32_t>(arguments[i]));
        else
            writer.add(static_cast<float>(arguments[i]));
    }
    writer.endMessage();
    return writer.packet();
}
}

TEST_CASE("tuio decoder: a card, a finger and a blob appear with place, turn and code")
{
    Bench bench;
    CHECK(bench.feed(cards(1, {5}, {5}, 1001, 0.25f, 1.f)) == "appear 5");
    CHECK(bench.events[0].type == Tactile::TrackedObject::Type::Marker);
    CHECK(bench.events[0].code == 1001);
    CHECK(bench.events[0].position == Vecta::Vector2f(0.25f, 0.5f));
    CHECK(bench.events[0].rotationRadians == 1.f);

    CHECK(bench.feed(fingers(1, {7}, {7}, 0.75f)) == "appear 7");
    CHECK(bench.events[0].type == Tactile::TrackedObject::Type::Finger);
    CHECK(bench.events[0].position == Vecta::Vector2f(0.75f, 0.5f));

    TuioEncoder encoder;
    encoder.begin(TuioProfile::Blobs);
    encoder.alive({9});
    encoder.setBlob(9, 0.125f, 0.5f, 1.f, 0.1f, 0.1f);
    CHECK(bench.feed(encoder.finish(1)) == "appear 9");
    CHECK(bench.events[0].type == Tactile::TrackedObject::Type::Finger);
    CHECK(bench.events[0].code == 0);
    CHECK(bench.decoder.counters().sources.at(0).fingers == 2);
    CHECK(bench.decoder.counters().sources.at(0).markers == 1);
}

TEST_CASE("tuio decoder: a late frame is dropped whole")
{
    Bench bench;
    bench.feed(fingers(200, {1}, {1}));
    CHECK(bench.feed(fingers(199, {}, {})) == "");
    CHECK(bench.feed(fingers(100, {1, 2}, {2})) == "");
    CHECK(bench.drops(TuioDrop::Late) == 2);
    CHECK(bench.decoder.counters().sources.at(0).drops[static_cast<std::size_t>(TuioDrop::Late)] == 2);
    CHECK(bench.feed(fingers(201, {1}, {1}, 0.6f)) == "move 1");
}

TEST_CASE("tuio decoder: a frame number lower by more than 100 is a restart of the sender")
{
    Bench bench;
    bench.feed(fingers(200, {1, 3}, {1, 3}));
    CHECK(bench.feed(fingers(99, {1}, {1})) == "cancel 1 cancel 3 appear 1");
    CHECK(bench.drops(TuioDrop::Late) == 0);
    CHECK(bench.feed(fingers(100, {1}, {1}, 0.6f)) == "move 1");
}

TEST_CASE("tuio decoder: frame 0 after a higher one is a restart, however near")
{
    Bench bench;
    bench.feed(fingers(5, {1}, {1}));
    CHECK(bench.feed(fingers(0, {}, {})) == "cancel 1");
    CHECK(bench.feed(fingers(1, {2}, {2})) == "appear 2");
}

TEST_CASE("tuio decoder: a frame split over packets of one number takes effect part by part")
{
    Bench bench;
    CHECK(bench.feed(fingers(7, {1, 2, 3}, {1, 2})) == "appear 1 appear 2");
    CHECK(bench.feed(fingers(7, {1, 2, 3}, {3})) == "appear 3");
    CHECK(bench.feed(fingers(8, {1, 2, 3}, {1}, 0.6f)) == "move 1");
}

TEST_CASE("tuio decoder: a redundant frame is not ordered")
{
    Bench bench;
    bench.feed(fingers(50, {1}, {1}));
    CHECK(bench.feed(fingers(-1, {1}, {1}, 0.6f)) == "move 1");
    CHECK(bench.feed(fingers(49, {}, {})) == "");
    CHECK(bench.drops(TuioDrop::Late) == 1);
    CHECK(bench.feed(fingers(51, {}, {})) == "vanish 1");
}

TEST_CASE("tuio decoder: frames are counted for each profile and source by itself")
{
    Bench bench;
    CHECK(bench.feed(fingers(500, {1}, {1})) == "appear 1");
    CHECK(bench.feed(cards(450, {1}, {1})) == "appear 1");
    CHECK(bench.feed(fingers(501, {1}, {1}, 0.6f)) == "move 1");
    bench.sender = SenderAddress::fromIpv4(127, 0, 0, 1, 5001);
    CHECK(bench.feed(fingers(470, {1}, {1})) == "appear 1");
    bench.sender = SenderAddress::fromIpv4(127, 0, 0, 1, 5002);
    CHECK(bench.feed(fingers(480, {1}, {1}, 0.5f, "left@cam")) == "appear 1");
    CHECK(bench.feed(fingers(460, {1}, {1}, 0.5f, "right@cam")) == "appear 1");
    CHECK(bench.feed(fingers(481, {1}, {1}, 0.6f, "left@cam")) == "move 1");
    CHECK(bench.drops(TuioDrop::Late) == 0);
}

TEST_CASE("tuio decoder: single messages take effect at their fseq")
{
    Bench bench;
    CHECK(bench.feed(single("/tuio/2Dcur", ",si", "alive", {4})) == "");
    CHECK(bench.feed(single("/tuio/2Dcur", ",sifffff", "set", {4, 0.5, 0.5, 0, 0, 0})) == "");
    CHECK(bench.feed(single("/tuio/2Dcur", ",si", "fseq", {1})) == "appear 4");
    CHECK(bench.feed(single("/tuio/2Dcur", ",s", "alive", {})) == "");
    CHECK(bench.feed(single("/tuio/2Dcur", ",si", "fseq", {2})) == "vanish 4");
}

TEST_CASE("tuio decoder: a profile without an fseq has no effect, and its frames are counted for its source")
{
    Bench bench;
    const auto alive = [] { return single("/tuio/2Dcur", ",si", "alive", {4}); };
    const auto set = [] { return single("/tuio/2Dcur", ",sifffff", "set", {4, 0.5, 0.5, 0, 0, 0}); };
    for (int i = 0; i < 3; ++i) {
        CHECK(bench.feed(alive()) == "");
        CHECK(bench.feed(set()) == "");
    }
    const auto& sources = bench.decoder.counters().sources;
    REQUIRE(sources.size() == 1);
    CHECK(sources[0].unclosed[1].count == 2);
    CHECK(sources[0].unclosed[1].inARow == 2);
    CHECK(bench.drops(TuioDrop::Unclosed) == 2);
    // A late end is an end.
    CHECK(bench.feed(single("/tuio/2Dcur", ",si", "fseq", {1})) == "appear 4");
    CHECK(sources[0].unclosed[1].inARow == 0);
    CHECK(sources[0].unclosed[1].count == 2);
    // Without any alive list its many sets are counted.
    for (int i = 0; i < 5000; ++i)
        bench.feed(set());
    CHECK(sources[0].unclosed[1].count == 3);
}

TEST_CASE("tuio decoder: single messages of two senders do not mix")
{
    Bench bench;
    bench.feed(single("/tuio/2Dcur", ",si", "alive", {4}));
    bench.feed(single("/tuio/2Dcur", ",sifffff", "set", {4, 0.5, 0.5, 0, 0, 0}));
    bench.sender.port = 5001;
    CHECK(bench.feed(single("/tuio/2Dcur", ",si", "fseq", {1})) == "");
    bench.sender.port = 5000;
    CHECK(bench.feed(single("/tuio/2Dcur", ",si", "fseq", {1})) == "appear 4");
}

TEST_CASE("tuio decoder: messages without type tags are read as their profile says")
{
    Bench bench;
    CHECK(bench.feed(single("/tuio/2Dcur", "", "alive", {4, 5})) == "");
    CHECK(bench.feed(single("/tuio/2Dcur", "", "set", {4, 0.5, 0.25, 0, 0, 0})) == "");
    CHECK(bench.feed(single("/tuio/2Dcur", "", "fseq", {1})) == "appear 4");
    CHECK(bench.events[0].position == Vecta::Vector2f(0.5f, 0.25f));
    CHECK(bench.drops(TuioDrop::Malformed) == 0);
}

TEST_CASE("tuio decoder: a malformed message drops its packet and leaves the state")
{
    struct Row
    {
        const char* what;
        std::string tags;
        std::string command;
        std::vector<double> arguments;
    };
    const Row rows[] = {
        {"a set with an argument too few", ",siffff", "set", {1, 0.9, 0.9, 0, 0}},
        {"a set with an argument too many", ",siffffff", "set", {1, 0.9, 0.9, 0, 0, 0, 0}},
        {"a set with an int for a float", ",siifffF", "set", {1, 1, 0.9, 0, 0, 0}},
        {"an alive with a float", ",sif", "alive", {1, 2}},
        {"an fseq without its number", ",s", "fseq", {}},
        {"an fseq with two numbers", ",sii", "fseq", {3, 4}},
        {"an fseq with a float", ",sf", "fseq", {3}},
        {"a source with a number", ",si", "source", {3}},
        {"tags that promise more than there is", ",siiiii", "alive", {1}},
        {"no command", ",i", "", {}},
        {"a set without tags that is too short", "", "set", {1, 0.9}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        Bench bench;
        bench.feed(fingers(1, {1, 2}, {1, 2}));
        // The bad message follows good ones that would move finger 1 and lift finger 2.
        Tactile::OscWriter writer;
        writer.beginBundle();
        writer.beginMessage("/tuio/2Dcur", ",si");
        writer.add("alive");
        writer.add(1);
        writer.endMessage();
        writer.beginMessage("/tuio/2Dcur", ",sifffff");
        writer.add("set");
        writer.add(1);
        for (int i = 0; i < 5; ++i)
            writer.add(0.75f);
        writer.endMessage();
        writer.beginMessage("/tuio/2Dcur", row.tags);
        writer.add(row.command);
        for (std::size_t i = 0; i < row.arguments.size(); ++i)
            if (i + 2 < row.tags.size() ? row.tags[i + 2] == 'i' : i == 0)
                writer.add(static_cast<std::int32_t>(row.arguments[i]));
            else
                writer.add(static_cast<float>(row.arguments[i]));
        writer.endMessage();
        writer.beginMessage("/tuio/2Dcur", ",si");
        writer.add("fseq");
        writer.add(2);
        writer.endMessage();
        writer.endBundle();
        CHECK(bench.feed(writer.packet()) == "");
        CHECK(bench.drops(TuioDrop::Malformed) == 1);
        // Nothing of it is left for the next frame.
        CHECK(bench.feed(fingers(3, {1, 2}, {})) == "");
    }
}

TEST_CASE("tuio decoder: other profiles, commands and protocols are skipped and counted, the rest of the packet is used")
{
    Bench bench;
    Tactile::OscWriter writer;
    writer.beginBundle();
    for (const char* address : {"/tuio/3Dobj", "/tuio2/t3d", "/light/1"}) {
        writer.beginMessage(address, ",Q");
        writer.endMessage();
    }
    writer.beginMessage("/tuio/2Dcur", ",s");
    writer.add("status");
    writer.endMessage();
    writer.beginMessage("/tuio/2Dcur", ",si");
    writer.add("alive");
    writer.add(1);
    writer.endMessage();
    writer.beginMessage("/tuio/2Dcur", ",sifffff");
    writer.add("set");
    writer.add(1);
    for (int i = 0; i < 5; ++i)
        writer.add(0.5f);
    writer.endMessage();
    writer.beginMessage("/tuio/2Dcur", ",si");
    writer.add("fseq");
    writer.add(1);
    writer.endMessage();
    writer.endBundle();
    CHECK(bench.feed(writer.packet()) == "appear 1");
    CHECK(bench.drops(TuioDrop::UnknownMessage) == 4);
    CHECK(bench.drops(TuioDrop::Malformed) == 0);
    CHECK(bench.decoder.firstUnknownAddress() == "/tuio/3Dobj");
}

TEST_CASE("tuio decoder: a malformed packet makes no source, and tells first where it came from")
{
    Bench bench;
    CHECK(bench.decoder.firstRefused().cause == Tactile::OscRefusal::None);
    bench.feed({'a', 'b', 'c'});
    bench.feed({});
    CHECK(bench.decoder.counters().packets == 2);
    CHECK(bench.decoder.counters().sources.empty());
    CHECK(bench.decoder.firstRefused().cause == Tactile::OscRefusal::NotMultipleOfFour);
    CHECK(bench.decoder.firstRefused().sender == bench.sender);
    CHECK(bench.decoder.counters().refusals[static_cast<std::size_t>(Tactile::OscRefusal::Empty)] == 1);
}

TEST_CASE("tuio decoder: after a loss any lower frame number is a restart")
{
    Bench bench;
    bench.feed(fingers(50, {1}, {1}));
    bench.decoder.sourceLost(0);
    CHECK(bench.feed(fingers(20, {1}, {1})) == "appear 1");
    CHECK(bench.drops(TuioDrop::Late) == 0);
    CHECK(bench.feed(fingers(19, {}, {})) == "");
    CHECK(bench.drops(TuioDrop::Late) == 1);
}

TEST_CASE("tuio decoder: random bytes and damaged packets never harm it")
{
    std::mt19937 random(20261120);
    const auto below = [&random](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); };
    const std::vector<std::vector<char>> good = {cards(1, {1, 2}, {1, 2}), fingers(1, {1, 2, 3}, {1, 2, 3}, 0.5f, "cam@a"),
                                                 single("/tuio/2Dcur", "", "set", {4, 0.5, 0.5, 0, 0, 0}),
                                                 single("/tuio/2Dcur", "", "alive", {4, 5})};
    Bench bench;
    std::vector<char> packet;
    for (int i = 0; i < 200000; ++i) {
        if (i % 4 == 0) {
            packet.resize(below(80));
            for (char& c : packet)
                c = static_cast<char>(below(256));
        } else {
            packet = good[below(static_cast<std::uint32_t>(good.size()))];
            for (std::uint32_t damage = below(4); damage > 0 && !packet.empty(); --damage)
                packet[below(static_cast<std::uint32_t>(packet.size()))] = static_cast<char>(below(256));
            if (i % 4 == 1)
                packet.resize(below(static_cast<std::uint32_t>(packet.size()) + 1));
        }
        // An exact block of its own, so that a read beyond the end is one beyond the block.
        const std::vector<char> exact(packet.begin(), packet.end());
        bench.sender.port = static_cast<std::uint16_t>(below(100));
        bench.feed(exact);
        for (const ContactEvent& e : bench.events) {
            REQUIRE(e.key.source < 16);
            REQUIRE((e.position.x >= 0.f && e.position.x <= 1.f));
            REQUIRE((e.position.y >= 0.f && e.position.y <= 1.f));
            REQUIRE((e.rotationRadians >= 0.f && e.rotationRadians < Vecta::kTwoPi));
        }
    }
    CHECK(bench.decoder.counters().packets == 200000);
    CHECK(bench.drops(TuioDrop::Malformed) > 50000);
    for (const auto& source : bench.decoder.counters().sources)
        CHECK(source.fingers <= TuioDecoder::kMaxFingers);
    // And it still works.
    bench.sender.port = 1;
    bench.decoder.sourceLost(0);
    CHECK(bench.feed(fingers(0, {77}, {77}, 0.5f, "fresh@one")) == "appear 77");
}
