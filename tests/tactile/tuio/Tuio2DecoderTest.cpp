#include <Tactile/OscWriter.hpp>
#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/TuioDecoder.hpp>
#include <Tactile/TuioEncoder.hpp>
#include <Vecta/Angle.hpp>

#include "LogCapture.hpp"
#include "TestTable.hpp"
#include "Tuio2Bench.hpp"

#include <doctest/doctest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

using Tactile::ContactEvent;
using Tactile::Tuio2Encoder;
using Tactile::TuioDecoder;
using Tactile::TuioDrop;

namespace
{
std::uint64_t at(double seconds)
{
    return Tuio2Encoder::timeTag(seconds);
}

/// One message with its arguments given as a text of type tags; ints and floats get `value`.
std::vector<char> message(const std::string& address, const std::string& tags, float value = 0.5f)
{
    Tactile::OscWriter writer;
    writer.beginMessage(address, ',' + tags);
    for (const char tag : tags) {
        if (tag == 'i')
            writer.add(1);
        else if (tag == 'f')
            writer.add(value);
        else if (tag == 't')
            writer.add(Tactile::OscTime{1});
        else
            writer.add("text");
    }
    writer.endMessage();
    return writer.packet();
}
}

TEST_CASE("tuio 2 decoder: what tokens, pointers, areas and symbols become, frame by frame")
{
    struct Frame
    {
        const char* reports;
        std::vector<std::int32_t> alive;
        const char* changes;
    };
    struct Row
    {
        const char* claim;
        std::vector<Frame> frames;
    };
    const Row rows[] = {
        {"a token is a card with its component as code, a pointer and an area are fingers",
         {{"token 5 1001 0.25 0.5 1, pointer 7 0.75 0.5, area 9 0.125 0.5 1",
           {5, 7, 9},
           "appear card 5 1001 0.25 0.5 1, appear finger 7 0.75 0.5, appear finger 9 0.125 0.5"},
          {"token 5 1001 0.5 0.5 1", {5, 9}, "vanish finger 7, move card 5 1001 0.5 0.5 1"}}},
        {"the token decides the place of a session that is an area and a symbol as well",
         {{"area 5 0.1 0.1 0, symbol 5 1001, token 5 1001 0.5 0.5 1", {5}, "appear card 5 1001 0.5 0.5 1"},
          {"area 5 0.2 0.1 0", {5}, ""}}},
        {"an area with a symbol is a card at the place of the area",
         {{"symbol 5 1001, area 5 0.1 0.2 1", {5}, "appear card 5 1001 0.1 0.2 1"},
          {"area 5 0.3 0.2 1", {5}, "move card 5 1001 0.3 0.2 1"}}},
        {"a symbol may come in a frame before its area",
         {{"symbol 6 1002", {6}, ""}, {"area 6 0.5 0.5 0", {6}, "appear card 6 1002 0.5 0.5 0"}}},
        {"a symbol may come in a frame after its area, which is cancelled as a finger",
         {{"area 7 0.7 0.5 0", {7}, "appear finger 7 0.7 0.5"},
          {"symbol 7 1003", {7}, "cancel finger 7, appear card 7 1003 0.7 0.5 0"}}},
        {"an area that turns out to be a card is cancelled as a finger, so that no tap fires",
         {{"area 5 0.1 0.1 0", {5}, "appear finger 5 0.1 0.1"},
          {"token 5 1001 0.1 0.1 0", {5}, "cancel finger 5, appear card 5 1001 0.1 0.1 0"}}},
        {"a code that changes under its session is another card",
         {{"token 1 1001 0.5 0.5 0", {1}, "appear card 1 1001 0.5 0.5 0"},
          {"token 1 1002 0.5 0.5 0", {1}, "vanish card 1, appear card 1 1002 0.5 0.5 0"}}},
        {"a card that was lifted comes under a new session",
         {{"token 1 1002 0.5 0.5 0", {1}, "appear card 1 1002 0.5 0.5 0"},
          {"token 2 1002 0.5 0.5 0", {2}, "vanish card 1, appear card 2 1002 0.5 0.5 0"}}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.claim);
        Tuio2Bench bench;
        std::int32_t number = 0;
        for (const Frame& frame : row.frames) {
            ++number;
            CAPTURE(number);
            bench.encoder.begin(number, at(10 + 0.1 * number));
            bench.report(frame.reports);
            CHECK(bench.feedExactly(bench.encoder.finish(frame.alive)) == frame.changes);
        }
    }
}

TEST_CASE("tuio 2 decoder: the counters hold how many fingers and cards there are now")
{
    Tuio2Bench bench;
    const auto counts = [&bench] {
        const auto& source = bench.decoder.counters().sources.at(0);
        return std::to_string(source.fingers) + " fingers, " + std::to_string(source.markers) + " cards";
    };
    bench.encoder.begin(1);
    bench.report("token 5 1001 0.25 0.5 1, pointer 7 0.75 0.5, area 9 0.125 0.5 1");
    bench.end({5, 7, 9});
    CHECK(counts() == "2 fingers, 1 cards");
    bench.encoder.begin(2);
    bench.report("token 9 1002 0.125 0.5 1");
    bench.end({5, 9});
    CHECK(counts() == "0 fingers, 2 cards");
}

TEST_CASE("tuio 2 decoder: a frame is taken, late, or a restart by its number and time")
{
    constexpr double kNone = 0.0; // the sender gives no time
    const std::string move = "move finger 1";
    const std::string late;
    const std::string restart = "cancel finger 1 appear finger 1";
    struct Row
    {
        const char* claim;
        double lastSeconds; // of frame 500
        std::int32_t frame;
        double seconds;
        const std::string& outcome;
    };
    const Row rows[] = {
        {"lower within a second is late", 10.0, 499, 10.0, late},
        {"lower within a second is late", 10.0, 1, 9.1, late},
        {"lower within a second is late", 10.0, 1, 11.0, late},
        {"lower and further away is a restart", 10.0, 499, 11.1, restart},
        {"lower and further away is a restart", 10.0, 1, 2.0, restart},
        {"higher is taken at any time", 10.0, 501, 2.0, move},
        {"the same number is a further part of the frame", 10.0, 500, 90.0, move},
        {"number 0 has no place in the order", 10.0, 0, 10.0, move},
        {"without times lower by 100 is late, as in version 1.1", kNone, 400, kNone, late},
        {"without times lower by more is a restart", kNone, 399, kNone, restart},
    };
    const auto tag = [](double seconds) { return seconds > 0.0 ? at(seconds) : Tuio2Encoder::kNoTime; };
    for (const Row& row : rows) {
        CAPTURE(row.claim);
        CAPTURE(row.frame);
        CAPTURE(row.seconds);
        Tuio2Bench bench;
        bench.fingers(500, {1}, 0.5f, tag(row.lastSeconds));
        CHECK(bench.fingers(row.frame, {1}, 0.6f, tag(row.seconds)) == row.outcome);
        CHECK(bench.drops(TuioDrop::Late) == (row.outcome.empty() ? 1 : 0));
        if (row.frame == 0) { // and leaves the order as it was
            CHECK(bench.fingers(499, {1}, 0.7f, tag(row.seconds)) == late);
            CHECK(bench.fingers(501, {1}, 0.7f, tag(row.seconds)) == move);
        }
    }
}

TEST_CASE("tuio 2 decoder: after a loss any lower frame number is a restart")
{
    Tuio2Bench bench;
    bench.fingers(500, {1}, 0.5f, at(10));
    bench.decoder.sourceLost(0);
    CHECK(bench.fingers(499, {1}, 0.5f, at(10.5)) == "appear finger 1");
}

TEST_CASE("tuio 2 decoder: a frame split over packets of one number takes effect part by part")
{
    Tuio2Bench bench;
    for (const std::int32_t session : {1, 2}) {
        bench.encoder.begin(7, at(1));
        bench.encoder.pointer(session, 0.5f, 0.5f);
        CHECK(bench.end({1, 2}) == "appear finger " + std::to_string(session));
    }
}

TEST_CASE("tuio 2 decoder: derivatives may be added, all or none")
{
    struct Row
    {
        const char* address;
        const char* tags;
        bool isGood;
    };
    const Row rows[] = {
        {"/tuio2/tok", "iiifff", true},    {"/tuio2/tok", "iiiffffffff", true},    {"/tuio2/tok", "iiifffff", false},
        {"/tuio2/ptr", "iiiffffff", true}, {"/tuio2/ptr", "iiifffffffffff", true}, {"/tuio2/ptr", "iiifffffff", false},
        {"/tuio2/bnd", "iffffff", true},   {"/tuio2/bnd", "ifffffffffff", true},   {"/tuio2/bnd", "ifffffffffffff", false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.address);
        CAPTURE(row.tags);
        Tuio2Bench bench;
        bench.feed(message("/tuio2/frm", "itis"));
        bench.feed(message(row.address, row.tags));
        CHECK(bench.drops(TuioDrop::Malformed) == (row.isGood ? 0 : 1));
        CHECK(bench.feed(message("/tuio2/alv", "i")).empty() != row.isGood);
    }
}

TEST_CASE("tuio 2 decoder: a malformed message drops its packet and leaves the state")
{
    struct Row
    {
        const char* name;
        const char* tags;
    };
    const Row rows[] = {{"tok", "iiiff"},  {"tok", "iiffff"}, {"tok", "iiifffi"}, {"tok", "iiifffffffff"},
                        {"ptr", "iiifff"}, {"bnd", "ifff"},   {"sym", "iiis"},    {"sym", "iiisss"},
                        {"frm", "iti"},    {"frm", "iiis"},   {"alv", "if"}};
    for (const Row& row : rows) {
        CAPTURE(row.name);
        CAPTURE(row.tags);
        Tuio2Bench bench;
        bench.fingers(1, {1});
        CHECK(bench.feed(message(std::string("/tuio2/") + row.name, row.tags)) == "");
        CHECK(bench.drops(TuioDrop::Malformed) == 1);
        CHECK(bench.fingers(2, {1}, 0.6f) == "move finger 1");
    }
}

TEST_CASE("tuio 2 decoder: single messages take effect at their alv, and one without its frm has no meaning")
{
    Tuio2Bench bench;
    const auto send = [&bench](const char* address, const char* tags) { return bench.feed(message(address, tags)); };
    CHECK(send("/tuio2/ptr", "iiiffffff") == "");
    CHECK(send("/tuio2/alv", "i") == "");
    CHECK(bench.drops(TuioDrop::NoFrame) == 2);
    CHECK(send("/tuio2/frm", "itis") == "");
    CHECK(send("/tuio2/ptr", "iiiffffff") == "");
    CHECK(send("/tuio2/alv", "i") == "appear finger 1");
    CHECK(send("/tuio2/alv", "") == "");
    CHECK(bench.drops(TuioDrop::NoFrame) == 3);
    CHECK(bench.decoder.counters().sources.at(0).name == "text@localhost");
}

TEST_CASE("tuio 2 decoder: messages without type tags are read as their name says")
{
    Tuio2Bench bench;
    const auto send = [&bench](const char* address, const auto&... arguments) {
        Tactile::OscWriter writer;
        writer.beginMessage(address, "");
        (writer.add(arguments), ...);
        writer.endMessage();
        return bench.feed(writer.packet());
    };
    CHECK(send("/tuio2/frm", 1, Tactile::OscTime{1}, 0, "old@cam") == "");
    CHECK(send("/tuio2/tok", 5, 0, 1001, 0.5f, 0.5f, 0.5f) == "");
    CHECK(send("/tuio2/alv", 5) == "appear card 5");
}

TEST_CASE("tuio 2 decoder: a frame that never ended is left when the next begins")
{
    Tuio2Bench bench;
    bench.feed(message("/tuio2/frm", "itis"));
    bench.feed(message("/tuio2/ptr", "iiiffffff"));
    CHECK(bench.fingers(2, {}) == "");
    bench.encoder.begin(3);
    CHECK(bench.end({1}) == "");
    REQUIRE(bench.decoder.counters().sources.size() == 1);
    const Tactile::TuioUnclosedFrames& unclosed = bench.decoder.counters().sources[0].unclosed[3];
    CHECK(unclosed.count == 1);
    CHECK(unclosed.inARow == 0);
    CHECK(bench.drops(TuioDrop::Unclosed) == 1);
}

TEST_CASE("tuio 2 decoder: a lost source shows its cards anew where they were, and its fingers after they were lifted")
{
    Tuio2Bench bench;
    bench.encoder.begin(1);
    bench.encoder.token(1, 1001, 0.25f, 0.5f, 0.f);
    bench.encoder.pointer(2, 0.5f, 0.5f);
    bench.end({1, 2});
    bench.decoder.sourceLost(0);
    CHECK(bench.decoder.counters().sources.at(0).markers == 0);
    bench.encoder.begin(2);
    bench.encoder.pointer(2, 0.6f, 0.5f);
    CHECK(bench.end({1, 2}) == "appear card 1");
    CHECK(bench.events[0].position.x == 0.25f);
    CHECK(bench.fingers(3, {3}) == "vanish card 1 appear finger 3");
}

TEST_CASE("tuio 2 decoder: what is no number, beside the surface, negative or not alive is dropped by itself")
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Tuio2Bench bench;
    bench.encoder.begin(1);
    bench.encoder.token(1, 1001, nan, 0.5f, 0.f);
    bench.encoder.token(2, 1002, 0.5f, 0.5f, std::numeric_limits<float>::infinity());
    bench.encoder.pointer(3, 1.06f, 0.5f);
    bench.encoder.token(4, -1, 0.5f, 0.5f, 0.f);
    bench.encoder.pointer(9, 0.5f, 0.5f);
    bench.encoder.token(5, 1005, 1.04f, -0.04f, -1.f);
    CHECK(bench.end({1, 2, 3, 4, 5, 5}) == "appear card 5");
    CHECK(bench.events[0].position == Vecta::Vector2f(1.f, 0.f));
    CHECK(bench.events[0].rotationRadians == doctest::Approx(5.2831853));
    CHECK(bench.drops(TuioDrop::NotFinite) == 2);
    CHECK(bench.drops(TuioDrop::OutOfRange) == 2);
    CHECK(bench.drops(TuioDrop::NotAlive) == 1);
}

TEST_CASE("tuio 2 decoder: the caps hold for both versions of one source together")
{
    Tuio2Bench bench;
    Tactile::TuioEncoder one("cam@a");
    bench.encoder = Tuio2Encoder("cam@a");
    std::vector<std::int32_t> alive;
    for (int i = 0; i < 40; ++i)
        alive.push_back(i);
    one.begin(Tactile::TuioProfile::Objects);
    one.alive(alive);
    for (const int i : alive)
        one.setObject(i, 2000 + i, 0.5f, 0.5f, 0.f);
    bench.feed(one.finish(1));
    bench.encoder.begin(1);
    for (const int i : alive)
        bench.encoder.token(i, 3000 + i, 0.5f, 0.5f, 0.f);
    bench.end(alive);
    CHECK(bench.decoder.counters().sources.size() == 1);
    CHECK(bench.decoder.counters().sources[0].markers == TuioDecoder::kMaxMarkers);
    CHECK(bench.drops(TuioDrop::MarkerCap) == 16);
}

TEST_CASE("tuio 2 decoder: both versions share a port, each with its own sessions")
{
    Tuio2Bench bench;
    Tactile::TuioEncoder one("a@b");
    one.begin(Tactile::TuioProfile::Cursors);
    one.alive({1});
    one.setCursor(1, 0.1f, 0.1f);
    CHECK(bench.feed(one.finish(50)) == "appear finger 1");
    bench.encoder = Tuio2Encoder("c@d");
    CHECK(bench.fingers(1, {1}) == "appear finger 1");
    CHECK(bench.fingers(2, {}) == "vanish finger 1");
    CHECK(bench.decoder.counters().sources.at(0).fingers == 1);
    CHECK(bench.decoder.counters().sources.at(1).fingers == 0);
}

TEST_CASE("tuio 2 decoder: the size of the sensor and the name of the source are in the counters")
{
    Tuio2Bench bench;
    bench.encoder = Tuio2Encoder("camera@10.0.0.7", 1280, 800);
    bench.fingers(1, {});
    CHECK(bench.decoder.counters().sources.at(0).name == "camera@10.0.0.7");
    CHECK(bench.decoder.counters().sources[0].sensorWidth == 1280);
    CHECK(bench.decoder.counters().sources[0].sensorHeight == 800);
    CHECK(bench.decoder.counters().sources[0].frames == 1);
}

TEST_CASE("tuio 2 decoder: other messages are skipped and counted, the rest of the packet is used")
{
    Tuio2Bench bench;
    Tactile::OscWriter writer;
    writer.beginBundle();
    writer.addMessage("/tuio2/frm", 1, Tactile::OscTime{1}, 0, "");
    for (const char* address : {"/tuio2/t3d", "/tuio2/sig", "/tuio2/"}) {
        writer.beginMessage(address, ",Q");
        writer.endMessage();
    }
    writer.addMessage("/tuio2/bnd", 1, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f);
    writer.addMessage("/tuio2/alv", 1);
    writer.endBundle();
    CHECK(bench.feed(writer.packet()) == "appear finger 1");
    CHECK(bench.drops(TuioDrop::UnknownMessage) == 3);
    CHECK(bench.decoder.firstUnknownAddress() == "/tuio2/t3d");
}

TEST_CASE("tuio 2 decoder: damaged packets of both versions never harm it")
{
    std::mt19937 random(20261121);
    const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    std::vector<std::vector<char>> good;
    Tuio2Encoder encoder("cam@a");
    encoder.begin(1, at(1));
    encoder.token(1, 1001, 0.5f, 0.5f, 0.f);
    encoder.symbol(2, 1002, "group", "data");
    encoder.area(2, 0.5f, 0.5f, 0.f, 0.1f, 0.1f);
    encoder.pointer(3, 0.5f, 0.5f);
    good.push_back(encoder.finish({1, 2, 3}));
    good.push_back(TestTable::cardsPacket(1, {{1, 1001, 0.5f, 0.5f}}));
    good.push_back(message("/tuio2/ptr", "iiiffffff"));
    good.push_back(message("/tuio2/alv", "i"));
    good.push_back(message("/tuio2/frm", "itis"));
    Tuio2Bench bench;
    for (int i = 0; i < 100000; ++i) {
        std::vector<char> packet = good[below(good.size())];
        for (std::size_t damage = below(4); damage > 0; --damage)
            packet[below(packet.size())] = static_cast<char>(below(256));
        if (i % 3 == 0)
            packet.resize(below(packet.size() + 1));
        const std::vector<char> exact(packet.begin(), packet.end());
        bench.sender.port = static_cast<std::uint16_t>(below(100));
        bench.feed(exact);
        for (const ContactEvent& e : bench.events) {
            REQUIRE((e.position.x >= 0.f && e.position.x <= 1.f));
            REQUIRE((e.rotationRadians >= 0.f && e.rotationRadians < Vecta::kTwoPi));
        }
    }
    CHECK(bench.drops(TuioDrop::Malformed) > 20000);
    bench.decoder.sourceLost(0);
    bench.encoder = Tuio2Encoder("fresh@one");
    CHECK(bench.fingers(1, {77}) == "appear finger 77");
}

TEST_CASE("tuio 2 on a table: a card is held, smoothed and mapped as one of version 1.1")
{
    TestTable table;
    Tuio2Encoder encoder("a@b");
    encoder.begin(1, at(1));
    encoder.token(1, 1001, 0.5f, 0.5f, 0.f);
    table.datagrams->send(encoder.finish({1}));
    table.frame();
    CHECK(table.changes() == "down 1");
    CHECK(table.sample.markers.at(0).centerLocation() == Vecta::Vector2f(500.f, 500.f));
    encoder.begin(2, at(1.1));
    table.datagrams->send(encoder.finish({}));
    table.frame();
    CHECK(table.changes() == "");
    encoder.begin(3, at(1.2));
    encoder.token(2, 1001, 0.51f, 0.5f, 0.f);
    encoder.pointer(3, 0.52f, 0.5f); // the card's own shadow
    encoder.pointer(4, 0.9f, 0.9f);
    table.datagrams->send(encoder.finish({2, 3, 4}));
    table.frame();
    CHECK(table.changes() == "down 2 move 1");
    TestSupport::expectWarningStartingWith("TuioInput::readSample # Lost the sender a at b");
    table.frame(5.1);
    CHECK(table.changes() == "cancel 2");
}
