// One input is a stream of bytes as TCP brings it. The first byte says in how many pieces it comes, at most sixteen; the next
// ones say where it is cut. What is found in the pieces must be what a reader of the whole finds.

#include "FuzzSupport.hpp"

#include "sources/PacketStream.hpp"

#include <Tactile/OscDecoder.hpp>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace
{
using Tactile::PacketStream;

struct Found
{
    std::vector<std::string> packets;
    bool isBad = false;
    std::size_t waiting = 0;
};

/// As the description of the stream says, without a buffer to go wrong.
Found readWhole(const std::string& stream)
{
    Found found;
    std::size_t at = 0;
    while (stream.size() - at >= 4) {
        std::int64_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length * 256 + static_cast<unsigned char>(stream[at + i]);
        if (length >= std::int64_t(1) << 31)
            length -= std::int64_t(1) << 32;
        if (length <= 0 || length > std::int64_t(Tactile::OscDecoder::kMaxPacketBytes)) {
            found.isBad = true;
            break;
        }
        if (std::int64_t(stream.size() - at - 4) < length)
            break;
        found.packets.push_back(stream.substr(at + 4, std::size_t(length)));
        at += 4 + std::size_t(length);
    }
    found.waiting = stream.size() - at;
    return found;
}

/// False when the stream cannot be read on.
bool readPackets(PacketStream& stream, Found& found)
{
    while (true) {
        switch (stream.next()) {
        case PacketStream::Next::Packet: found.packets.emplace_back(stream.packet(), stream.packetSize()); break;
        case PacketStream::Next::Incomplete: return true;
        case PacketStream::Next::BadLength: found.isBad = true; return false;
        }
    }
}

Found readPieces(PacketStream& stream, const std::string& bytes, const std::vector<std::size_t>& ends)
{
    Found found;
    std::size_t at = 0;
    for (const std::size_t end : ends) {
        while (at < end) {
            const PacketStream::Room room = stream.room();
            Fuzz::require(room.size > 0, "there is room for more bytes once all packets are taken");
            const std::size_t size = std::min(room.size, end - at);
            std::memcpy(room.data, bytes.data() + at, size);
            stream.add(size);
            at += size;
            if (!readPackets(stream, found)) {
                found.waiting = stream.waiting() + bytes.size() - at;
                return found;
            }
        }
    }
    found.waiting = stream.waiting();
    return found;
}
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t cuts = std::min<std::size_t>(data[0] & 15, size - 1);
    const std::string bytes(reinterpret_cast<const char*>(data) + 1 + cuts, size - 1 - cuts);
    std::vector<std::size_t> ends{bytes.size()};
    for (std::size_t i = 0; i < cuts; ++i)
        ends.push_back(bytes.size() * data[1 + i] / 256);
    std::sort(ends.begin(), ends.end());

    const Found expected = readWhole(bytes);
    static PacketStream stream; // of one connection after the other
    stream.clear();
    const Found found = readPieces(stream, bytes, ends);
    Fuzz::require(found.packets == expected.packets, "pieces give the packets of the whole");
    Fuzz::require(found.isBad == expected.isBad, "a length that is out of bounds is found, and no other one");
    Fuzz::require(found.waiting == expected.waiting, "all that is in no packet is waiting");
    return 0;
}
