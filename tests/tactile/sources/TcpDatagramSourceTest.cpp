#include "LogCapture.hpp"
#include "LoopbackStream.hpp"
#include "Patience.hpp"
#include "TestTable.hpp"

#include <Tactile/TcpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>

using Tactile::NetworkSettings;
using Tactile::TcpDatagramSource;
using Tactile::TuioInput;
using namespace std::chrono_literals;

namespace
{
/// A table that is listening by TCP.
struct Hall
{
    explicit Hall(NetworkSettings settings = {}) : input(TestTable::plainSettings())
    {
        settings.port = 0;
        auto source = std::make_unique<TcpDatagramSource>(settings);
        tcp = source.get();
        REQUIRE(input.addSource(std::move(source)));
    }
    [[nodiscard]] std::uint16_t port() const { return tcp->port(); }
    const Tactile::Sample& frame(std::uint64_t packets)
    {
        REQUIRE(input.waitForDatagrams(packets, TestSupport::kPatience));
        input.readSample(now += 0.01, sample);
        return sample;
    }

    [[nodiscard]] std::uint64_t drops(Tactile::TuioDrop cause) const
    {
        return input.counters().drops[static_cast<std::size_t>(cause)];
    }

    TuioInput input;
    TcpDatagramSource* tcp = nullptr;
    Tactile::Sample sample;
    double now = 0.0;
};

NetworkSettings anyTcpPort()
{
    NetworkSettings settings;
    settings.port = 0;
    return settings;
}

/// A source whose packets are counted by the first byte of each.
struct Counter
{
    std::mutex mutex;
    std::condition_variable arrived;
    std::size_t counts[256] = {};
    TcpDatagramSource source{anyTcpPort()};

    Counter()
    {
        REQUIRE(source.start([this](const Tactile::Datagram& datagram) {
            {
                const std::lock_guard<std::mutex> lock(mutex);
                ++counts[static_cast<unsigned char>(*datagram.data)];
            }
            arrived.notify_all();
        }));
    }
    bool waitFor(char kind, std::size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return arrived.wait_for(lock, TestSupport::kPatience, [&] { return counts[static_cast<unsigned char>(kind)] >= count; });
    }
    std::size_t of(char kind)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return counts[static_cast<unsigned char>(kind)];
    }
};

std::vector<char> finger(std::int32_t frame, float x, const std::string& source = "")
{
    return TestTable::fingersPacket(frame, {{1, x, 0.5f}}, source);
}

std::string streamHead(std::uint32_t length)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(length >> shift);
    return bytes;
}
}

TEST_CASE("tcp source: a tracker that connects puts a card and a finger on the table")
{
    Hall hall;
    const LoopbackStream tracker(hall.port());
    tracker.send(TestTable::cardsPacket(1, {{1, 1001, 0.5f, 0.5f}}, ""));
    tracker.send(TestTable::fingersPacket(1, {{1, 0.1f, 0.1f}}, ""));
    hall.frame(2);
    CHECK(hall.sample.markers.size() == 1);
    CHECK(hall.sample.fingers.size() == 1);
    CHECK(hall.input.counters().sources.at(0).name == "127.0.0.1:" + std::to_string(tracker.port()));
}

TEST_CASE("tcp source: however the bytes are cut, the packets come whole and in order")
{
    struct Row
    {
        int packets;
        std::size_t bytesAtATime;
    };
    for (const Row& row : {Row{3, 1}, Row{100, 7}, Row{1000, 1000000}}) {
        CAPTURE(row.packets);
        Hall hall;
        const LoopbackStream tracker(hall.port());
        std::string bytes;
        for (int i = 1; i <= row.packets; ++i)
            bytes += framed(finger(i, 0.0005f * float(i)));
        for (std::size_t i = 0; i < bytes.size(); i += row.bytesAtATime)
            tracker.send(bytes.substr(i, row.bytesAtATime));
        const auto packets = static_cast<std::uint64_t>(row.packets);
        hall.frame(packets);
        CHECK(hall.input.datagramsReceived() == packets);
        REQUIRE(hall.sample.fingers.size() == 1);
        CHECK(hall.sample.fingers[0].centerLocation().x == doctest::Approx(0.5 * row.packets));
        CHECK(hall.input.counters().sources.at(0).frames == packets);
        CHECK(hall.drops(Tactile::TuioDrop::Malformed) == 0);
        CHECK(hall.drops(Tactile::TuioDrop::Late) == 0);
    }
}

TEST_CASE("tcp source: the largest packet comes whole, and one that is no TUIO costs itself only")
{
    Hall hall;
    const LoopbackStream tracker(hall.port());
    TestSupport::expectWarningStartingWith("TuioDecoder::decode # Dropped a datagram (from 127.0.0.1:");
    tracker.send(std::vector<char>(65535, 'x'));
    tracker.send(finger(1, 0.5f));
    hall.frame(2);
    CHECK(hall.input.counters().refusals[static_cast<std::size_t>(Tactile::OscRefusal::NotMultipleOfFour)] == 1);
    CHECK(hall.sample.fingers.size() == 1);
}

TEST_CASE("tcp source: two trackers at once are two sources, however their bytes mix")
{
    Hall hall;
    const LoopbackStream left(hall.port());
    const LoopbackStream right(hall.port());
    const std::string one = framed(finger(1, 0.1f)) + framed(finger(2, 0.2f));
    const std::string two = framed(finger(70, 0.7f)) + framed(finger(71, 0.8f));
    REQUIRE(one.size() == two.size());
    for (std::size_t i = 0; i < one.size(); i += 7) {
        left.send(one.substr(i, 7));
        right.send(two.substr(i, 7));
    }
    hall.frame(4);
    REQUIRE(hall.sample.fingers.size() == 2);
    CHECK(std::max(hall.sample.fingers[0].centerLocation().x, hall.sample.fingers[1].centerLocation().x) == doctest::Approx(800));
    CHECK(std::min(hall.sample.fingers[0].centerLocation().x, hall.sample.fingers[1].centerLocation().x) == doctest::Approx(200));
    CHECK(hall.input.counters().sources.size() == 2);
}

TEST_CASE("tcp source: a length that cannot be ends its connection with a warning, and no other one")
{
    Hall hall;
    const LoopbackStream good(hall.port());
    struct Row
    {
        std::string bytes;
        const char* length;
    };
    const Row rows[] = {{streamHead(0), "0"},
                        {streamHead(0xfffffffcu), "-4"},
                        {streamHead(65536), "65536"},
                        {"GET / HTTP/1.1\r\n\r\n", "1195725856"}};
    std::uint64_t packets = 0;
    for (const Row& row : rows) {
        CAPTURE(row.length);
        const LoopbackStream bad(hall.port());
        // What was good ahead of it counts.
        TestSupport::expectWarning(
            "TcpDatagramSource # Closed the connection of 127.0.0.1:" + std::to_string(bad.port()) + " (a packet of " + row.length
            + " bytes, where 1 to 65535 are possible); check which program connects there: the length goes ahead of "
              "each packet, in 4 bytes, big end first");
        bad.send(framed(TestTable::fingersPacket(1, {}, "bad")) + row.bytes + framed(finger(9, 0.9f)));
        CHECK(bad.isClosed());
        good.send(finger(static_cast<std::int32_t>(++packets), 0.5f, "good@one"));
        hall.frame(2 * packets);
    }
    CHECK(hall.sample.fingers.size() == 1);
    CHECK(hall.input.datagramsReceived() == 2 * packets);
}

TEST_CASE("tcp source: a sender that connects again and again with garbage does not fill the log")
{
    Hall hall;
    for (int i = 0; i < 4; ++i)
        TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:");
    for (int i = 0; i < 20; ++i) {
        const LoopbackStream bad(hall.port());
        bad.send(streamHead(0));
        CHECK(bad.isClosed());
    }
    const LoopbackStream good(hall.port());
    good.send(finger(1, 0.5f));
    CHECK(hall.frame(1).fingers.size() == 1);
}

TEST_CASE("tcp source: a connection that dies inside a packet loses that packet only, and its tracker may connect again")
{
    Hall hall;
    std::string port;
    {
        const LoopbackStream tracker(hall.port());
        port = std::to_string(tracker.port());
        const std::string torn = framed(finger(2, 0.9f, "cam@left"));
        tracker.send(framed(finger(1, 0.1f, "cam@left")) + torn.substr(0, torn.size() - 1));
    }
    const LoopbackStream again(hall.port());
    again.send(finger(3, 0.2f, "cam@left"));
    hall.frame(2);
    REQUIRE(hall.sample.fingers.size() == 1);
    CHECK(hall.sample.fingers[0].centerLocation().x == doctest::Approx(200));
    // The same finger: it was not lifted in between.
    REQUIRE(hall.sample.changes.size() == 2);
    CHECK(hall.sample.changes[1].kind == Tactile::InputChange::Kind::Move);
    CHECK(hall.input.datagramsReceived() == 2);
    again.send(finger(4, 0.3f, "cam@left"));
    hall.frame(3); // the older connection was read before it
    const auto lines = TestSupport::loggedLines();
    CHECK(std::count_if(lines.begin(), lines.end(),
                        [&](const auto& line) {
                            return line.text
                                == "TcpDatagramSource # The connection of 127.0.0.1:" + port
                                + " ended inside a packet; that packet is lost";
                        })
          == 1);
}

TEST_CASE("tcp source: a connection that begins in the place of another one begins anew")
{
    Hall hall;
    for (int i = 1; i <= 40; ++i) {
        LoopbackStream tracker(hall.port());
        tracker.send(framed(finger(i, 0.01f * float(i), "cam@left")) + streamHead(100) + "a beginning");
        hall.frame(static_cast<std::uint64_t>(i));
    }
    CHECK(hall.input.datagramsReceived() == 40);
    CHECK(hall.sample.fingers.at(0).centerLocation().x == doctest::Approx(400));
}

TEST_CASE("tcp source: a connection from a sender that is not allowed is closed, and logged once")
{
    NetworkSettings settings;
    settings.allowedSenders = {"127.0.0.3", "127.0.0.2"};
    Hall hall(settings);
    TestSupport::expectWarningStartingWith("TcpDatagramSource # Refused a connection from 127.0.0.1:");
    for (int i = 0; i < 2; ++i)
        CHECK(LoopbackStream(hall.port()).isClosed());
    const LoopbackStream friendly(hall.port(), "127.0.0.2");
    friendly.send(finger(1, 0.5f));
    hall.frame(1);
    CHECK(hall.tcp->refusedSenders() == 2);
    CHECK(hall.input.datagramsReceived() == 1);
    CHECK(hall.input.counters().sources.at(0).name == "127.0.0.2:" + std::to_string(friendly.port()));
}

TEST_CASE("tcp source: on all addresses of both kinds, a sender by IPv4 is known by its IPv4 address")
{
    NetworkSettings settings;
    settings.address = "::";
    settings.allowedSenders = {"127.0.0.1"};
    Hall hall(settings);
    const LoopbackStream tracker(hall.port());
    tracker.send(finger(1, 0.5f));
    hall.frame(1);
    CHECK(hall.input.counters().sources.at(0).name == "127.0.0.1:" + std::to_string(tracker.port()));
}

TEST_CASE("tcp source: beyond sixteen connections the newest is closed, until there is room")
{
    Hall hall;
    std::deque<LoopbackStream> trackers;
    for (std::size_t i = 0; i < TcpDatagramSource::kMaxConnections; ++i) {
        trackers.emplace_back(hall.port());
        trackers.back().send(finger(1, 0.05f * float(i)));
    }
    hall.frame(16);
    CHECK(hall.sample.fingers.size() == 16);
    {
        // Its port is known only when it is connected, and the source may be quicker.
        TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:");
        const LoopbackStream late(hall.port());
        CHECK(late.isClosed());
        CHECK(TestSupport::loggedLines().back().text
              == "TcpDatagramSource # Closed the connection of 127.0.0.1:" + std::to_string(late.port())
                  + " (16 that send are open already); check which programs connect there, and use fewer trackers");
    }
    // Garbage ends the first, whose place the next one takes.
    TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:"
                                           + std::to_string(trackers.front().port()) + " (a packet of 0 bytes");
    trackers.front().send(streamHead(0));
    CHECK(trackers.front().isClosed());
    const LoopbackStream next(hall.port());
    next.send(finger(1, 0.9f, "next@one"));
    trackers.back().send(finger(2, 0.99f));
    REQUIRE(hall.input.waitForDatagrams(18, TestSupport::kPatience));
}

TEST_CASE("tcp source: a tracker finds room where sixteen connections are silent, the longest-silent of which is closed")
{
    Hall hall;
    std::deque<LoopbackStream> silent;
    for (std::size_t i = 0; i < TcpDatagramSource::kMaxConnections; ++i)
        silent.emplace_back(hall.port());
    const auto closesFor = [](const LoopbackStream& gone) {
        TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:"
                                               + std::to_string(gone.port())
                                               + ", which has sent no OSC packet, to make room for 127.0.0.1:");
    };
    closesFor(silent[0]);
    const LoopbackStream first(hall.port());
    first.send(finger(1, 0.1f, "first@one"));
    CHECK(silent[0].isClosed());
    CHECK(hall.frame(1).fingers.size() == 1);
    // Its packet has come late, and is enough to stay.
    silent[1].send(finger(1, 0.2f, "late@one"));
    hall.frame(2);
    closesFor(silent[2]);
    const LoopbackStream second(hall.port());
    second.send(finger(1, 0.3f, "second@one"));
    CHECK(silent[2].isClosed());
    CHECK(hall.frame(3).fingers.size() == 3);
    CHECK(hall.tcp->silentConnections() == 2);
    // Those that send are left alone.
    first.send(finger(2, 0.1f, "first@one"));
    silent[1].send(finger(2, 0.2f, "late@one"));
    REQUIRE(hall.input.waitForDatagrams(5, TestSupport::kPatience));
}

TEST_CASE("tcp source: bytes that make no whole packet keep no place")
{
    Hall hall;
    std::deque<LoopbackStream> beginners;
    for (std::size_t i = 0; i < TcpDatagramSource::kMaxConnections; ++i) {
        beginners.emplace_back(hall.port());
        beginners.back().send(streamHead(100) + "a beginning");
    }
    TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:");
    const LoopbackStream tracker(hall.port());
    tracker.send(finger(1, 0.1f));
    CHECK(hall.frame(1).fingers.size() == 1);
    CHECK(hall.tcp->silentConnections() == 1);
}

TEST_CASE("tcp source: packets that are no OSC keep no place, a message and a bundle of OSC do")
{
    const struct
    {
        std::string packet;
        bool keepsPlace;
    } rows[] = {{"x", false},        {"x/tuio/2Dcur", false}, {"#bundl", false},
                {"#bundlex", false}, {"/tuio/2Dcur", true},   {std::string("#bundle\0", 8), true}};
    for (const auto& row : rows) {
        CAPTURE(row.packet);
        Counter counter;
        std::deque<LoopbackStream> senders;
        for (std::size_t i = 0; i < TcpDatagramSource::kMaxConnections; ++i) {
            senders.emplace_back(counter.source.port());
            senders.back().send(framed({row.packet.begin(), row.packet.end()}));
        }
        REQUIRE(counter.waitFor(row.packet[0], senders.size()));
        TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:");
        const LoopbackStream tracker(counter.source.port());
        if (row.keepsPlace) {
            CHECK(tracker.isClosed());
        } else {
            tracker.send(std::vector<char>{'!'});
            CHECK(counter.waitFor('!', 1));
        }
        CHECK(counter.source.silentConnections() == (row.keepsPlace ? 0 : 1));
    }
}

TEST_CASE("tcp source: a sender that never stops does not keep others, the frames or the end waiting")
{
    const auto began = std::chrono::steady_clock::now();
    Counter counter;
    std::string flood;
    for (int i = 0; i < 10000; ++i)
        flood += framed({'f'});
    std::atomic<bool> isOver{false};
    std::thread sender([&, tracker = std::make_shared<LoopbackStream>(counter.source.port())] {
        while (!isOver && tracker->trySend(flood)) {}
    });
    const LoopbackStream quiet(counter.source.port());
    REQUIRE(counter.waitFor('f', 1000));
    for (std::size_t i = 1; i <= 5; ++i) {
        quiet.send(std::vector<char>{'q'});
        REQUIRE(counter.waitFor('q', i));
    }
    const std::size_t taken = counter.of('f');
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - began;
    counter.source.stop();
    isOver = true;
    sender.join();
    // The work of each hundredth of a second is bounded, so that the table can draw.
    CHECK(double(taken) <= (elapsed.count() / 0.01 + 2.0) * double(TcpDatagramSource::kPacketsPerTurn));
    CHECK(counter.of('q') == 5);
}

TEST_CASE("tcp source: a table goes on drawing while a sender floods it, and takes all of what it let in")
{
    Hall hall;
    std::string flood;
    for (int i = 0; i < 2000; ++i)
        flood += framed(TestTable::fingersPacket(-1, {{1, 0.0004f * float(i), 0.5f}}, "flood@one"));
    std::atomic<bool> isOver{false};
    std::thread sender([&, tracker = std::make_shared<LoopbackStream>(hall.port())] {
        while (!isOver && tracker->trySend(flood)) {}
    });
    std::uint64_t taken = 0;
    bool isGoingOn = true;
    for (int i = 0; i < 30 && isGoingOn; ++i) {
        isGoingOn = hall.input.waitForDatagrams(taken + 100, TestSupport::kPatience);
        taken = hall.input.datagramsReceived();
        hall.input.readSample(hall.now += 0.01, hall.sample);
    }
    hall.tcp->stop();
    isOver = true;
    sender.join();
    CHECK(isGoingOn);
    CHECK(hall.sample.fingers.size() == 1);
    CHECK(hall.drops(Tactile::TuioDrop::QueueFull) == 0);
}

TEST_CASE("tcp source: a sender that is made to wait loses nothing, whether it ends or stays silent")
{
    struct Row
    {
        std::size_t small; // packets of one byte, then
        std::size_t large; // of the largest size
        bool endsConnection;
    };
    constexpr std::size_t kTurn = TcpDatagramSource::kPacketsPerTurn;
    for (const Row& row : {Row{10 * kTurn + 3, 40, true}, Row{3 * kTurn + 3, 0, false}}) {
        CAPTURE(row.small);
        Counter counter;
        std::string bytes;
        for (std::size_t i = 0; i < row.small; ++i)
            bytes += framed({'a'});
        for (std::size_t i = 0; i < row.large; ++i)
            bytes += framed(std::vector<char>(65535, 'b'));
        LoopbackStream tracker(counter.source.port());
        tracker.send(bytes);
        if (row.endsConnection)
            tracker.end();
        CHECK(counter.waitFor('a', row.small));
        CHECK(counter.waitFor('b', row.large));
        counter.source.stop();
        CHECK(counter.of('a') == row.small);
        CHECK(counter.of('b') == row.large);
    }
}

TEST_CASE("tcp source: a handler that throws costs one packet")
{
    std::mutex mutex;
    std::condition_variable arrived;
    int calls = 0;
    TcpDatagramSource source(anyTcpPort());
    REQUIRE(source.start([&](const Tactile::Datagram&) {
        const std::lock_guard<std::mutex> lock(mutex);
        ++calls;
        arrived.notify_all();
        if (calls == 1)
            throw std::runtime_error("out of sorts");
    }));
    TestSupport::expectError("TcpDatagramSource # Failed to handle a datagram (out of sorts); it is dropped");
    const LoopbackStream tracker(source.port());
    tracker.send(framed({'a'}) + framed({'b'}));
    std::unique_lock<std::mutex> lock(mutex);
    CHECK(arrived.wait_for(lock, TestSupport::kPatience, [&] { return calls == 2; }));
}
