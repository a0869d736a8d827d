#include "sources/PacketStream.hpp"

#include <Tactile/OscDecoder.hpp>

#include <cstring>

namespace Tactile
{
namespace
{
constexpr std::size_t kHeadBytes = 4;
constexpr std::int32_t kMaxLength = OscDecoder::kMaxPacketBytes;
}

PacketStream::PacketStream() : m_buffer(kHeadBytes + OscDecoder::kMaxPacketBytes) {}

PacketStream::Room PacketStream::room() noexcept
{
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, waiting());
        m_end -= m_begin;
        m_begin = 0;
    }
    return {m_buffer.data() + m_end, m_buffer.size() - m_end};
}

PacketStream::Next PacketStream::next() noexcept
{
    if (waiting() < kHeadBytes)
        return Next::Incomplete;
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < kHeadBytes; ++i)
        bits = (bits << 8) | static_cast<unsigned char>(m_buffer[m_begin + i]);
    m_length = static_cast<std::int32_t>(bits);
    if (m_length <= 0 || m_length > kMaxLength)
        return Next::BadLength;
    if (waiting() < kHeadBytes + packetSize())
        return Next::Incomplete;
    m_begin += kHeadBytes + packetSize();
    return Next::Packet;
}
}
