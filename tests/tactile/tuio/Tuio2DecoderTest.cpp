#include <Tactile/OscWriter.hpp>
#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/TuioDecoder.hpp>
#include <Tactile/TuioEncoder.hpp>

#include "LogCapture.hpp"
#include "TestTable.hpp"

#include <doctest/doctest.h>

#include <limits>
#include <random>
#include <string>

using Tactile::ContactEvent;
using Tactile::Tuio2Encoder;
using Tactile::TuioDecoder;
using Tactile::TuioDrop;
using Type = Tactile::TrackedObject::Type;

namespace
{
struct Bench
{
    TuioDecoder decoder;
    Tuio2Encoder encoder;
    std::vector<ContactEvent> events;
    Tactile::SenderAddress sender = Tactile::SenderAddress::fromIpv4(127, 0, 0, 1, 5000);

    /// What the packet changed, in short: "appear card 5 vanish finger 7".
    std::string feed(const std::vector<char>& packet)
    {
        events.clear();
        decoder.decode({packet.data(), packet.size(), sender}, 0, events);
        static const char* const kNames[] = {"seen", "appear", "move", "vanish", "cancel"};
        std::string text;
        for (const ContactEvent& e : events)
            if (e.kind != ContactEvent::Kind::Seen)
                text += (text.empty() ? "" : " ") + std::string(kNames[static_cast<int>(e.kind)])
                    + (e.type == Type::Marker ? " card " : " finger ") + std::to_string(e.key.session);
        return text;
    }
    std::string end(const std::vector<std::int32_t>& alive) { return feed(encoder.finish(alive)); }

    /// A frame with fingers at `x`.
    std::string fingers(std::int32_t frame, const std::vector<std::int32_t>& alive, float x = 0.5f,
                        std::uint64_t time = Tuio2Encoder::kNoTime)
    {
        encoder.begin(frame, time);
        for (const std::int32_t session : alive)
            encoder.pointer(session, x, 0.5f);
        return end(alive);
    }
    [[nodiscard]] std::uint64_t drops(TuioDrop cause) const { return decoder.counters().drops[static_cast<std::size_t>(cause)]; }
};

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

TEST_CASE("tuio 2 decoder: a token is a card with its component as code, a pointer and an area are fingers")
{
    Bench bench;
    bench.encoder.begin(1, at(10));
    bench.encoder.token(5, 1001, 0.25f, 0.5f, 1.f);
    bench.encoder.pointer(7, 0.75f, 0.5f);
    bench.encoder.area(9, 0.125f, 0.5f, 1.f, 0.1f, 0.1f);
    CHECK(bench.end({5, 7, 9}) == "appear card 5 appear finger 7 appear finger 9");
    CHECK(bench.events[0].code == 1001);
    CHECK(bench.events[0].position == Vecta::Vector2f(0.25f, 0.5f));
    CHECK(bench.events[0].rotationRadians == 1.f);
    CHECK(bench.events[1].position == Vecta::Vector2f(0.75f, 0.5f));
    CHECK(bench.events[1].code == 0);
    CHECK(bench.events[2].position == Vecta::Vector2f(0.125f, 0.5f));
    CHECK(bench.decoder.counters().sources.at(0).fingers == 2);
    CHECK(bench.decoder.counters().sources[0].markers == 1);

    bench.encoder.begin(2, at(10.1));
    bench.encoder.token(5, 1001, 0.5f, 0.5f, 1.f, (3 << 16) | 2);
    CHECK(bench.end({5, 9}) == "vanish finger 7 move card 5");
}

TEST_CASE("tuio 2 decoder: the token tells where a session is that is an area and a symbol as well")
{
    Bench bench;
    bench.encoder.begin(1);
    bench.encoder.area(5, 0.1f, 0.1f, 0.f, 0.1f, 0.1f);
    bench.encoder.symbol(5, 1001, "fiducial", "0x1");
    bench.encoder.token(5, 1001, 0.5f, 0.5f, 1.f);
    CHECK(bench.end({5}) == "appear card 5");
    CHECK(bench.events[0].position == Vecta::Vector2f(0.5f, 0.5f));

    bench.encoder.begin(2);
    bench.encoder.area(5, 0.2f, 0.1f, 0.f, 0.1f, 0.1f);
    CHECK(bench.end({5}) == "");
}

TEST_CASE("tuio 2 decoder: an area with a symbol is a card that lies where the area is")
{
    Bench bench;
    bench.encoder.begin(1);
    bench.encoder.symbol(5, 1001, "fiducial", "0x1");
    bench.encoder.area(5, 0.1f, 0.2f, 1.f, 0.1f, 0.1f);
    CHECK(bench.end({5}) == "appear card 5");
    CHECK(bench.events[0].code == 1001);
    CHECK(bench.events[0].position == Vecta::Vector2f(0.1f, 0.2f));
    bench.encoder.begin(2);
    bench.encoder.area(5, 0.3f, 0.2f, 1.f, 0.1f, 0.1f);
    CHECK(bench.end({5}) == "move card 5");

    // The symbol in a frame before the area, and after it.
    bench.encoder.begin(3);
    bench.encoder.symbol(6, 1002, "", "");
    CHECK(bench.end({5, 6}) == "");
    bench.encoder.begin(4);
    bench.encoder.area(6, 0.5f, 0.5f, 0.f, 0.1f, 0.1f);
    CHECK(bench.end({5, 6}) == "appear card 6");
    bench.encoder.begin(5);
    bench.encoder.area(7, 0.7f, 0.5f, 0.f, 0.1f, 0.1f);
    CHECK(bench.end({5, 6, 7}) == "appear finger 7");
    bench.encoder.begin(6);
    bench.encoder.symbol(7, 1003, "", "");
    CHECK(bench.end({5, 6, 7}) == "cancel finger 7 appear card 7");
    CHECK(bench.events[1].position.x == 0.7f);
    CHECK(bench.events[1].code == 1003);
}

TEST_CASE("tuio 2 decoder: an area that turns out to be a card is cancelled as a finger, so that no tap fires")
{
    Bench bench;
    bench.encoder.begin(1);
    bench.encoder.area(5, 0.1f, 0.1f, 0.f, 0.1f, 0.1f);
    CHECK(bench.end({5}) == "appear finger 5");
    bench.encoder.begin(2);
    bench.encoder.token(5, 1001, 0.1f, 0.1f, 0.f);
    CHECK(bench.end({5}) == "cancel finger 5 appear card 5");
    CHECK(bench.decoder.counters().sources.at(0).fingers == 0);
    CHECK(bench.decoder.counters().sources[0].markers == 1);
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
        Bench bench;
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
        const char* address;
        const char* tags;
    };
    const Row rows[] = {{"/tuio2/tok", "iiiff"},
                        {"/tuio2/tok", "iiffff"},
                        {"/tuio2/tok", "iiifffi"},
                        {"/tuio2/ptr", "iiifff"},
                        {"/tuio2/bnd", "ifff"},
                        {"/tuio2/sym", "iiis"},
                        {"/tuio2/sym", "iiisss"},
                        {"/tuio2/frm", "iti"},
                        {"/tuio2/frm", "iiis"},
                        {"/tuio2/alv", "if"},
                        {"/tuio2/tok",
                         "iiiffffffff"
                         "f"}};
    for (const Row& row : rows) {
        CAPTURE(row.address);
        CAPTURE(row.tags);
        Bench bench;
        bench.fingers(1, {1});
        CHECK(bench.feed(message(row.address, row.tags)) == "");
        CHECK(bench.drops(TuioDrop::Malformed) == 1);
        CHECK(bench.fingers(2, {1}, 0.6f) == "move finger 1");
    }
}

TEST_CASE("tuio 2 decoder: single messages take effect at their alv, and one without its frm has no meaning")
{
    Bench bench;
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
    Bench bench;
    Tactile::OscWriter writer;
    const auto send = [&] { return bench.feed(writer.packet()); };
    writer.beginMessage("/tuio2/frm", "");
    writer.add(1);
    writer.add(Tactile::OscTime{1});
    writer.add(0);
    writer.add("old@cam");
    writer.endMessage();
    CHECK(send() == "");
    writer.clear();
    writer.beginMessage("/tuio2/tok", "");
    for (const int i : {5, 0, 1001})
        writer.add(i);
    for (int i = 0; i < 3; ++i)
        writer.add(0.5f);
    writer.endMessage();
    CHECK(send() == "");
    writer.clear();
    writer.beginMessage("/tuio2/alv", "");
    writer.add(5);
    writer.endMessage();
    CHECK(send() == "appear card 5");
}

TEST_CASE("tuio 2 decoder: a frame that never ended is left when the next begins")
{
    Bench bench;
    bench.feed(message("/tuio2/frm", "itis"));
    bench.feed(message("/tuio2/ptr", "iiiffffff"));
    CHECK(bench.fingers(2, {}) == "");
    bench.encoder.begin(3);
    CHECK(bench.end({1}) == "");
}

TEST_CASE("tuio 2 decoder: a lower number within a second is late, further away it is a restart")
{
    struct Row
    {
        std::int32_t frame;
        double seconds;
        const char* outcome;
    };
    const Row rows[] = {
        {499, 10.0, ""},
        {1, 9.1, ""},
        {1, 11.0, ""},
        {499, 11.1, "cancel finger 1 appear finger 1"},
        {1, 2.0, "cancel finger 1 appear finger 1"},
        {501, 2.0, "move finger 1"},
        {500, 90.0, "move finger 1"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.frame);
        CAPTURE(row.seconds);
        Bench bench;
        bench.fingers(500, {1}, 0.5f, at(10));
        CHECK(bench.fingers(row.frame, {1}, 0.6f, at(row.seconds)) == row.outcome);
        CHECK(bench.drops(TuioDrop::Late) == (std::string(row.outcome).empty() ? 1 : 0));
    }
}

TEST_CASE("tuio 2 decoder: frame 0 has no place in the order")
{
    Bench bench;
    bench.fingers(500, {1}, 0.5f, at(10));
    CHECK(bench.fingers(0, {1}, 0.6f, at(10)) == "move finger 1");
    CHECK(bench.fingers(499, {1}, 0.7f, at(10)) == "");
    CHECK(bench.fingers(501, {1}, 0.7f, at(10)) == "move finger 1");
}

TEST_CASE("tuio 2 decoder: without times a lower number is late up to 100, as in version 1.1")
{
    Bench bench;
    bench.fingers(500, {1});
    CHECK(bench.fingers(400, {1}, 0.6f) == "");
    CHECK(bench.fingers(399, {1}, 0.6f) == "cancel finger 1 appear finger 1");
}

TEST_CASE("tuio 2 decoder: after a loss any lower frame number is a restart")
{
    Bench bench;
    bench.fingers(500, {1}, 0.5f, at(10));
    bench.decoder.sourceLost(0);
    CHECK(bench.fingers(499, {1}, 0.5f, at(10.5)) == "appear finger 1");
}

TEST_CASE("tuio 2 decoder: a lost source shows its cards anew where they were, and its fingers after they were lifted")
{
    Bench bench;
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

TEST_CASE("tuio 2 decoder: a frame split over packets of one number takes effect part by part")
{
    Bench bench;
    bench.encoder.begin(7, at(1));
    bench.encoder.pointer(1, 0.5f, 0.5f);
    CHECK(bench.end({1, 2}) == "appear finger 1");
    bench.encoder.begin(7, at(1));
    bench.encoder.pointer(2, 0.5f, 0.5f);
    CHECK(bench.end({1, 2}) == "appear finger 2");
}

TEST_CASE("tuio 2 decoder: what is no number, beside the surface, negative or not alive is dropped by itself")
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Bench bench;
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

TEST_CASE("tuio 2 decoder: a code that changes under its session is another card, and a lifted card comes under a new session")
{
    Bench bench;
    bench.encoder.begin(1);
    bench.encoder.token(1, 1001, 0.5f, 0.5f, 0.f);
    bench.end({1});
    bench.encoder.begin(2);
    bench.encoder.token(1, 1002, 0.5f, 0.5f, 0.f);
    CHECK(bench.end({1}) == "vanish card 1 appear card 1");
    bench.encoder.begin(3);
    bench.encoder.token(2, 1002, 0.5f, 0.5f, 0.f);
    CHECK(bench.end({2}) == "vanish card 1 appear card 2");
    CHECK(bench.events[1].code == 1002);
}

TEST_CASE("tuio 2 decoder: the caps hold for both versions of one source together")
{
    Bench bench;
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
    Bench bench;
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
    Bench bench;
    bench.encoder = Tuio2Encoder("camera@10.0.0.7", 1280, 800);
    bench.fingers(1, {});
    CHECK(bench.decoder.counters().sources.at(0).name == "camera@10.0.0.7");
    CHECK(bench.decoder.counters().sources[0].sensorWidth == 1280);
    CHECK(bench.decoder.counters().sources[0].sensorHeight == 800);
    CHECK(bench.decoder.counters().sources[0].frames == 1);
}

TEST_CASE("tuio 2 decoder: other messages are skipped and counted, the rest of the packet is used")
{
    Bench bench;
    Tactile::OscWriter writer;
    writer.beginBundle();
    writer.beginMessage("/tuio2/frm", ",itis");
    writer.add(1);
    writer.add(Tactile::OscTime{1});
    writer.add(0);
    writer.add("");
    writer.endMessage();
    for (const char* address : {"/tuio2/t3d", "/tuio2/sig", "/tuio2/"}) {
        writer.beginMessage(address, ",Q");
        writer.endMessage();
    }
    writer.beginMessage("/tuio2/bnd", ",iffffff");
    writer.add(1);
    for (int i = 0; i < 6; ++i)
        writer.add(0.5f);
    writer.endMessage();
    writer.beginMessage("/tuio2/alv", ",i");
    writer.add(1);
    writer.endMessage();
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
    Bench bench;
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
            REQUIRE((e.rotationRadians >= 0.f && e.rotationRadians < 6.2831854f));
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
    TestSupport::expectWarningStartingWith("TuioInput::takeSample # Lost the sender a@b");
    table.frame(5.1);
    CHECK(table.changes() == "cancel 2");
}
