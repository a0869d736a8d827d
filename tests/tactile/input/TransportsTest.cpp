#include "LoopbackStream.hpp"
#include "Patience.hpp"
#include "SampleText.hpp"
#include "TestTable.hpp"

#include <Tactile/DatagramPlayer.hpp>
#include <Tactile/DatagramRecorder.hpp>
#include <Tactile/TcpDatagramSource.hpp>
#include <Tactile/Tuio2Encoder.hpp>
#include <Tactile/UdpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <QTemporaryDir>

#include <chrono>

using Tactile::NetworkSettings;
using Tactile::TcpDatagramSource;
using Tactile::TuioInput;
using namespace std::chrono_literals;

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
            REQUIRE(input.waitForDatagrams(++sent, TestSupport::kPatience));
        }
        input.readSample(now += 0.02, sample);
        samples.push_back(describe(sample));
    }
    return samples;
}

NetworkSettings anyPort()
{
    NetworkSettings settings;
    settings.port = 0;
    return settings;
}

std::vector<std::string> samplesByTcp(TuioInput& input)
{
    auto source = std::make_unique<TcpDatagramSource>(anyPort());
    const auto* tcp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    const LoopbackStream tracker(tcp->port());
    return samplesOf(input, [&](const std::vector<char>& packet) { tracker.send(packet); });
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

TEST_CASE("tuio input: fingers and cards are the same by UDP and by TCP, frame by frame")
{
    TuioInput input(TestTable::plainSettings());
    const auto byTcp = samplesByTcp(input);
    const auto byUdp = samplesByUdp();
    REQUIRE(byTcp.size() == 20);
    CHECK(byTcp == byUdp);
    CHECK(byTcp[0].find(" 2001 ") != std::string::npos);
    CHECK(byTcp[0] != byTcp[1]);
}

TEST_CASE("tuio input: packets received by TCP are recorded and replayed as any datagram")
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
        recorded = samplesByTcp(input);
    }
    const auto player = Tactile::DatagramPlayer::open(file, error);
    REQUIRE(player);
    TuioInput input(player->settings());
    Tactile::Sample sample;
    std::vector<std::string> replayed;
    double now = 0.0;
    while (const auto frame = player->nextFrame(input)) {
        input.readSample(now += frame->dtSeconds, sample);
        replayed.push_back(describe(sample));
    }
    CHECK(replayed == recorded);
}
