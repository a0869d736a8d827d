#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tactile
{
/// Cuts a stream of bytes into packets, each of which follows its length: an int32, most significant byte first. Allocates
/// one buffer, once.
///
///     const auto room = stream.room();
///     stream.add(read(socket, room.data, room.size));
///     while (stream.next() == PacketStream::Next::Packet)
///         … stream.packet(), stream.packetSize() …
class PacketStream
{
public:
    enum class Next {
        Packet,
        Incomplete, ///< more bytes are needed, for which there is room
        BadLength   ///< no packet can be found from here on, see length()
    };

    PacketStream();

    /// Drops all bytes: another stream begins.
    void clear() noexcept { m_begin = m_end = 0; }

    /// Room for more bytes; none only while next() still finds packets. Invalidates packet().
    struct Room
    {
        char* data;
        std::size_t size;
    };
    [[nodiscard]] Room room() noexcept;
    /// Appends the first `bytes` of the room.
    void add(std::size_t bytes) noexcept { m_end += bytes; }

    [[nodiscard]] Next next() noexcept;
    /// The packet that next() found.
    [[nodiscard]] const char* packet() const noexcept { return m_buffer.data() + m_begin - packetSize(); }
    [[nodiscard]] std::size_t packetSize() const noexcept { return static_cast<std::size_t>(m_length); }
    /// The length that was read last.
    [[nodiscard]] std::int32_t length() const noexcept { return m_length; }

    /// Number of bytes that next() has not returned in a packet.
    [[nodiscard]] std::size_t waiting() const noexcept { return m_end - m_begin; }

private:
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::int32_t m_length = 0;
};
}
