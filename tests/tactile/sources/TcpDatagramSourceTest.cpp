#include "LogCapture.hpp"
#include "LoopbackStream.hpp"
#include "SampleText.hpp"
#include "TestTable.hpp"

#include <Tactile/DatagramPlayer.hpp>
#include <Tactile/DatagramRecorder.hpp>
#include <Tactile/TcpDatagramSource.hpp>
#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/UdpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <QTemporaryDir>

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
        REQUIRE(input.waitForDatagrams(packets, 10s));
        input.takeSample(now += 0.01, sample);
        return sample;
    }

    TuioInput input;
    TcpDatagramSource* tcp = nullptr;
    Tactile::Sample sample;
    double now = 0.0;
};

/// Counts packets by the first byte of each.
struct Counter
{
    std::mutex mutex;
    std::condition_variable arrived;
    std::size_t counts[256] = {};

    void take(const Tactile::Datagram& datagram)
    {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            ++counts[static_cast<unsigned char>(*datagram.data)];
        }
        arrived.notify_all();
    }
    bool waitFor(char kind, std::size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return arrived.wait_for(lock, 10s, [&] { return counts[static_cast<unsigned char>(kind)] >= count; });
    }
    std::size_t of(char kind)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return counts[static_cast<unsigned char>(kind)];
    }
};

NetworkSettings anyPort()
{
    NetworkSettings settings;
    settings.port = 0;
    return settings;
}

std::vector<char> finger(std::int32_t frame, float x, const std::string& source = "")
{
    return TestTable::fingersPacket(frame, {{1, x, 0.5f}}, source);
}

std::string head(std::uint32_t length)
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

TEST_CASE("tcp source: packets that come one byte at a time are put together")
{
    Hall hall;
    const LoopbackStream tracker(hall.port());
    for (int i = 1; i <= 3; ++i)
        for (const char byte : framed(finger(i, 0.1f * float(i))))
            tracker.send(std::string(1, byte));
    hall.frame(3);
    CHECK(hall.input.datagramsReceived() == 3);
    REQUIRE(hall.sample.fingers.size() == 1);
    CHECK(hall.sample.fingers[0].centerLocation().x == doctest::Approx(300));
    CHECK(hall.input.counters().drops[static_cast<std::size_t>(Tactile::TuioDrop::Malformed)] == 0);
}

TEST_CASE("tcp source: many packets in one read come one by one, in order")
{
    Hall hall;
    const LoopbackStream tracker(hall.port());
    std::string bytes;
    for (int i = 1; i <= 1000; ++i)
        bytes += framed(finger(i, 0.0005f * float(i)));
    tracker.send(bytes);
    hall.frame(1000);
    CHECK(hall.input.datagramsReceived() == 1000);
    CHECK(hall.sample.fingers.at(0).centerLocation().x == doctest::Approx(500));
    CHECK(hall.input.counters().sources.at(0).frames == 1000);
    CHECK(hall.input.counters().drops[static_cast<std::size_t>(Tactile::TuioDrop::Late)] == 0);
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
    const Row rows[] = {
        {head(0), "0"}, {head(0xfffffffcu), "-4"}, {head(65536), "65536"}, {"GET / HTTP/1.1\r\n\r\n", "1195725856"}};
    std::uint64_t packets = 0;
    for (const Row& row : rows) {
        CAPTURE(row.length);
        const LoopbackStream bad(hall.port());
        // What was good ahead of it counts.
        TestSupport::expectWarning("TcpDatagramSource # Closed the connection of 127.0.0.1:" + std::to_string(bad.port())
                                   + " (a packet of " + row.length
                                   + " bytes, where 1 to 65535 are possible); look what connects there: the length goes ahead of "
                                     "each packet, in 4 bytes, big end first");
        bad.send(framed(TestTable::fingersPacket(1, {}, "bad")) + row.bytes + framed(finger(9, 0.9f)));
        CHECK(bad.isClosed());
        good.send(finger(static_cast<std::int32_t>(++packets), 0.5f, "good@one"));
        hall.frame(2 * packets);
    }
    CHECK(hall.sample.fingers.size() == 1);
    CHECK(hall.input.datagramsReceived() == 2 * packets);
}

TEST_CASE("tcp source: who connects again and again with garbage does not fill the log")
{
    Hall hall;
    for (int i = 0; i < 4; ++i)
        TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:");
    for (int i = 0; i < 20; ++i) {
        const LoopbackStream bad(hall.port());
        bad.send(head(0));
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
        tracker.send(framed(finger(i, 0.01f * float(i), "cam@left")) + head(100) + "a beginning");
        hall.frame(static_cast<std::uint64_t>(i));
    }
    CHECK(hall.input.datagramsReceived() == 40);
    CHECK(hall.sample.fingers.at(0).centerLocation().x == doctest::Approx(400));
}

TEST_CASE("tcp source: a connection from a sender that is not allowed is closed, and told once")
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
        const LoopbackStream late(hall.port());
        TestSupport::expectWarning("TcpDatagramSource # Closed the connection of 127.0.0.1:" + std::to_string(late.port())
                                   + " (16 are open already); look who connects there, and use fewer trackers");
        CHECK(late.isClosed());
    }
    // Garbage ends the first, whose place the next one takes.
    TestSupport::expectWarningStartingWith("TcpDatagramSource # Closed the connection of 127.0.0.1:"
                                           + std::to_string(trackers.front().port()) + " (a packet of 0 bytes");
    trackers.front().send(head(0));
    CHECK(trackers.front().isClosed());
    const LoopbackStream next(hall.port());
    next.send(finger(1, 0.9f, "next@one"));
    trackers.back().send(finger(2, 0.99f));
    REQUIRE(hall.input.waitForDatagrams(18, 10s));
}

TEST_CASE("tcp source: a sender that never stops does not keep others, the frames or the end waiting")
{
    Counter counter;
    const auto began = std::chrono::steady_clock::now();
    TcpDatagramSource source(anyPort());
    REQUIRE(source.start([&](const Tactile::Datagram& datagram) { counter.take(datagram); }));
    std::string flood;
    for (int i = 0; i < 10000; ++i)
        flood += framed({'f'});
    std::atomic<bool> isOver{false};
    std::thread sender([&, tracker = std::make_shared<LoopbackStream>(source.port())] {
        while (!isOver && tracker->trySend(flood)) {}
    });
    const LoopbackStream quiet(source.port());
    REQUIRE(counter.waitFor('f', 1000));
    for (std::size_t i = 1; i <= 5; ++i) {
        quiet.send(std::vector<char>{'q'});
        REQUIRE(counter.waitFor('q', i));
    }
    const std::size_t taken = counter.of('f');
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - began;
    source.stop();
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
        isGoingOn = hall.input.waitForDatagrams(taken + 100, 10s);
        taken = hall.input.datagramsReceived();
        hall.input.takeSample(hall.now += 0.01, hall.sample);
    }
    hall.tcp->stop();
    isOver = true;
    sender.join();
    CHECK(isGoingOn);
    CHECK(hall.sample.fingers.size() == 1);
    CHECK(hall.input.counters().drops[static_cast<std::size_t>(Tactile::TuioDrop::QueueFull)] == 0);
}

TEST_CASE("tcp source: a sender that is made to wait loses nothing")
{
    Counter counter;
    TcpDatagramSource source(anyPort());
    REQUIRE(source.start([&](const Tactile::Datagram& datagram) { counter.take(datagram); }));
    const std::size_t packets = 10 * TcpDatagramSource::kPacketsPerTurn + 3;
    std::string bytes;
    for (std::size_t i = 0; i < packets; ++i)
        bytes += framed({'a'});
    for (std::size_t i = 0; i < 40; ++i)
        bytes += framed(std::vector<char>(65535, 'b'));
    {
        const LoopbackStream tracker(source.port());
        tracker.send(bytes);
    }
    CHECK(counter.waitFor('b', 40));
    source.stop();
    CHECK(counter.of('a') == packets);
    CHECK(counter.of('b') == 40);
}

TEST_CASE("tcp source: what came in one read with too much comes by itself, without anything behind it")
{
    Counter counter;
    TcpDatagramSource source(anyPort());
    REQUIRE(source.start([&](const Tactile::Datagram& datagram) { counter.take(datagram); }));
    const std::size_t packets = 3 * TcpDatagramSource::kPacketsPerTurn + 3;
    std::string bytes;
    for (std::size_t i = 0; i < packets; ++i)
        bytes += framed({'a'});
    const LoopbackStream tracker(source.port());
    tracker.send(bytes);
    CHECK(counter.waitFor('a', packets));
}

TEST_CASE("tcp source: a handler that throws costs one packet")
{
    std::mutex mutex;
    std::condition_variable arrived;
    int calls = 0;
    TcpDatagramSource source(anyPort());
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
    CHECK(arrived.wait_for(lock, 10s, [&] { return calls == 2; }));
}

namespace
{
/// The packets of a visit, in both versions of TUIO, frame by frame.
std::vector<std::vector<std::vector<char>>> visit()
{
    std::vector<std::vector<std::vector<char>>> frames;
    for (std::int32_t i = 1; i <= 20; ++i) {
        const float shift = 0.01f * float(i);
        std::vector<TestTable::Card> cards;
        std::vector<TestTable::Finger> fingers;
        for (std::int32_t c = 0; c < 5; ++c)
            cards.push_back({c, 1001 + c, 0.15f * float(c) + shift, 0.9f, shift});
        for (std::int32_t f = i / 5; f < 12; ++f)
            fingers.push_back({f, 0.05f * float(f) + shift, 0.2f});
        Tactile::Tuio2Encoder encoder("two@cam");
        encoder.begin(i);
        encoder.token(1, 2001, 0.5f + shift, 0.5f, shift);
        encoder.pointer(2, 0.1f, 0.5f + shift);
        frames.push_back({TestTable::cardsPacket(i, cards), TestTable::fingersPacket(i, fingers), encoder.finish({1, 2})});
    }
    return frames;
}

/// What each frame of the table says when the visit comes by way of `send`.
template <class Send>
std::vector<std::string> samplesOf(TuioInput& input, const Send& send)
{
    std::vector<std::string> samples;
    Tactile::Sample sample;
    std::uint64_t sent = 0;
    double now = 0.0;
    for (const auto& frame : visit()) {
        for (const auto& packet : frame) {
            send(packet);
            REQUIRE(input.waitForDatagrams(++sent, 10s));
        }
        input.takeSample(now += 0.02, sample);
        samples.push_back(describe(sample));
    }
    return samples;
}

std::vector<std::string> samplesByUdp()
{
    TuioInput input(TestTable::plainSettings());
    auto source = std::make_unique<Tactile::UdpDatagramSource>(anyPort());
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
    const auto* udp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    address.sin_port = htons(udp->port());
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    auto samples = samplesOf(input, [&](const std::vector<char>& packet) {
        REQUIRE(sendto(descriptor, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&address), sizeof address) > 0);
    });
    close(descriptor);
    return samples;
}
}

TEST_CASE("tcp source: fingers and cards are the same by both ways, frame by frame")
{
    Hall hall;
    const LoopbackStream tracker(hall.port());
    const auto byTcp = samplesOf(hall.input, [&](const std::vector<char>& packet) { tracker.send(packet); });
    const auto byUdp = samplesByUdp();
    REQUIRE(byTcp.size() == 20);
    CHECK(byTcp == byUdp);
    CHECK(byTcp[0].find(" 2001 ") != std::string::npos);
    CHECK(byTcp[0] != byTcp[1]);
}

TEST_CASE("tcp source: what came by it is recorded and replayed as any datagram")
{
    const QTemporaryDir dir;
    const std::string file = dir.filePath(QStringLiteral("evening.rec")).toStdString();
    std::vector<std::string> recorded;
    std::string error;
    {
        const auto recorder = Tactile::DatagramRecorder::create(file, error);
        REQUIRE(recorder);
        TuioInput input(TestTable::plainSettings());
        input.setRecorder(recorder.get());
        auto source = std::make_unique<TcpDatagramSource>(anyPort());
        const auto* tcp = source.get();
        REQUIRE(input.addSource(std::move(source)));
        const LoopbackStream tracker(tcp->port());
        recorded = samplesOf(input, [&](const std::vector<char>& packet) { tracker.send(packet); });
    }
    const auto player = Tactile::DatagramPlayer::open(file, error);
    REQUIRE(player);
    TuioInput input(player->settings());
    Tactile::Sample sample;
    std::vector<std::string> replayed;
    double now = 0.0;
    while (const auto frame = player->nextFrame(input)) {
        input.takeSample(now += frame->dtSeconds, sample);
        replayed.push_back(describe(sample));
    }
    CHECK(replayed == recorded);
}
