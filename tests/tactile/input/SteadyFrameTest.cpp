#include "LoopbackStream.hpp"
#include "Patience.hpp"
#include "TestTable.hpp"

#include <Tactile/TcpDatagramSource.hpp>

#include <doctest/doctest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <new>

// Counts every allocation of this program and its libraries.
namespace
{
std::atomic<long> allocations{0};
}

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

namespace
{
/// A card packet and a finger packet for each of 400 frames. Made beforehand: what is measured is the table.
std::vector<std::vector<char>> busyPackets()
{
    std::vector<std::vector<char>> packets;
    for (std::int32_t frame = 1; frame <= 400; ++frame) {
        std::vector<TestTable::Card> cards;
        std::vector<TestTable::Finger> fingers;
        const float shift = 0.0005f * float(frame);
        for (std::int32_t i = 0; i < 8; ++i)
            cards.push_back({i, 1001 + i, 0.1f * float(i) + shift, 0.9f, shift});
        for (std::int32_t i = 0; i < 20; ++i) // each finger is lifted and put down again at times
            fingers.push_back({i + 100 * (frame / 30), 0.04f * float(i) + shift, 0.2f});
        packets.push_back(TestTable::cardsPacket(frame, cards));
        packets.push_back(TestTable::fingersPacket(frame, fingers));
    }
    return packets;
}
}

TEST_CASE("steady frames: cards and fingers that move, come and go allocate nothing")
{
    auto settings = TestTable::plainSettings();
    settings.tracker.smoothing = true;
    TestTable table(settings);
    const auto packets = busyPackets();
    long before = 0;
    std::size_t changes = 0;
    for (std::size_t i = 0; i < packets.size(); i += 2) {
        if (i == 200)
            before = allocations;
        table.datagrams->send(packets[i]);
        table.datagrams->send(packets[i + 1]);
        table.frame();
        changes += table.sample.changes.size();
    }
    const long after = allocations;
    CHECK(before > 0);
    CHECK(changes > 400u * 20u);
    CHECK(after - before == 0);
}

TEST_CASE("steady frames: packets that come by a connection allocate nothing either")
{
    Tactile::TuioInput input(TestTable::plainSettings());
    Tactile::NetworkSettings network;
    network.port = 0;
    auto source = std::make_unique<Tactile::TcpDatagramSource>(network);
    const auto* tcp = source.get();
    REQUIRE(input.addSource(std::move(source)));
    const LoopbackStream tracker(tcp->port());
    std::vector<std::string> frames;
    const auto packets = busyPackets();
    for (std::size_t i = 0; i < packets.size(); i += 2)
        frames.push_back(framed(packets[i]) + framed(packets[i + 1]));
    Tactile::Sample sample;
    long before = 0;
    bool isWhole = true;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (i == 100)
            before = allocations;
        isWhole = tracker.trySend(frames[i]) && input.waitForDatagrams(2 * (i + 1), TestSupport::kPatience) && isWhole;
        input.readSample(0.02 * double(i), sample);
    }
    const long after = allocations;
    CHECK(isWhole);
    CHECK(before > 0);
    CHECK(sample.markers.size() == 8);
    CHECK(after - before == 0);
}
