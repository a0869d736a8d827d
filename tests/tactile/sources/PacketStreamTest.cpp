#include "sources/PacketStream.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using Tactile::PacketStream;
using Next = PacketStream::Next;

namespace
{
/// Writes as much as there is room for; what is left.
std::string fill(PacketStream& stream, const std::string& bytes)
{
    const PacketStream::Room room = stream.room();
    const std::size_t size = std::min(room.size, bytes.size());
    std::memcpy(room.data, bytes.data(), size);
    stream.add(size);
    return bytes.substr(size);
}

std::string packetOf(const PacketStream& stream)
{
    return std::string(stream.packet(), stream.packetSize());
}

std::string head(std::uint32_t length)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(length >> shift);
    return bytes;
}
}

TEST_CASE("packet stream: nothing has come, nothing is there")
{
    PacketStream stream;
    CHECK(stream.next() == Next::Incomplete);
    CHECK(stream.waiting() == 0);
}

TEST_CASE("packet stream: byte by byte a packet is there with its last byte, not before")
{
    PacketStream stream;
    for (const std::string packet : {"one.", "2", "the third packet"}) {
        const std::string bytes = head(std::uint32_t(packet.size())) + packet;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            REQUIRE(stream.next() == Next::Incomplete);
            CHECK(stream.waiting() == i);
            fill(stream, bytes.substr(i, 1));
        }
        REQUIRE(stream.next() == Next::Packet);
        CHECK(packetOf(stream) == packet);
        CHECK(stream.waiting() == 0);
    }
}

TEST_CASE("packet stream: several packets in one read come one by one, the last when its rest has come")
{
    PacketStream stream;
    fill(stream, head(2) + "ab" + head(1) + "c" + head(4) + "de");
    REQUIRE(stream.next() == Next::Packet);
    CHECK(packetOf(stream) == "ab");
    REQUIRE(stream.next() == Next::Packet);
    CHECK(packetOf(stream) == "c");
    CHECK(stream.next() == Next::Incomplete);
    CHECK(stream.next() == Next::Incomplete);
    fill(stream, "fg");
    REQUIRE(stream.next() == Next::Packet);
    CHECK(packetOf(stream) == "defg");
}

TEST_CASE("packet stream: the largest packet fits, whatever came before it")
{
    PacketStream stream;
    const std::string large(65535, 'x');
    std::string left = head(3) + "abc" + head(65535) + large + head(1) + "y";
    std::vector<std::string> packets;
    while (packets.size() < 3) {
        const std::size_t before = left.size();
        left = fill(stream, left);
        const std::size_t taken = packets.size();
        while (stream.next() == Next::Packet)
            packets.push_back(packetOf(stream));
        REQUIRE((left.size() < before || packets.size() > taken));
    }
    CHECK(packets[0] == "abc");
    CHECK(packets[1] == large);
    CHECK(packets[2] == "y");
}

TEST_CASE("packet stream: a length of zero, below it or above the largest packet is reported")
{
    struct Row
    {
        std::uint32_t bytes;
        std::int32_t length;
    };
    for (const Row& row :
         {Row{0, 0}, Row{0xffffffffu, -1}, Row{0x80000000u, -2147483647 - 1}, Row{65536, 65536}, Row{0x2f747569u, 0x2f747569}}) {
        CAPTURE(row.length);
        PacketStream stream;
        fill(stream, head(1) + "a" + head(row.bytes) + "more");
        CHECK(stream.next() == Next::Packet);
        CHECK(stream.next() == Next::BadLength);
        CHECK(stream.length() == row.length);
        CHECK(stream.next() == Next::BadLength);
    }
}

TEST_CASE("packet stream: cleared it begins another stream")
{
    PacketStream stream;
    fill(stream, head(7) + "abc");
    CHECK(stream.next() == Next::Incomplete);
    stream.clear();
    CHECK(stream.waiting() == 0);
    fill(stream, head(2) + "de");
    REQUIRE(stream.next() == Next::Packet);
    CHECK(packetOf(stream) == "de");
}
