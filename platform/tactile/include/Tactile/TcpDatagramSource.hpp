#pragma once

#include <Tactile/NetworkDatagramSource.hpp>

#include <cstddef>

namespace Tactile
{
/// Receives packets from senders that connect by TCP. Each packet follows its length, an int32, most significant byte first.
/// One thread reads all connections in turn. The sender of a packet is the other end of its connection.
///
/// When a connection ends, an incomplete packet is lost; its contacts stay until the sender was silent for long, so that it
/// may connect again. An impossible length ends the connection, since the packets after it cannot be found. A sender that
/// never pauses has to wait: see kPacketsPerTurn.
class TAVOLA_EXPORT TcpDatagramSource final : public NetworkDatagramSource
{
public:
    /// Most connections at a time. A further one takes the place of that which has been silent for longest without having sent an
    /// OSC packet; where all have sent one, the further one is closed.
    static constexpr std::size_t kMaxConnections = 16;
    /// A connection that sent so many packets, or about so many bytes, is not read for the rest of the hundredth of a
    /// second. Many times what a tracker sends, and little enough that the frames of the table go on.
    static constexpr std::size_t kPacketsPerTurn = 256;
    static constexpr std::size_t kBytesPerTurn = std::size_t(1) << 18;

    explicit TcpDatagramSource(NetworkSettings settings);
    ~TcpDatagramSource() override;

private:
    class Receiver;
    void receive() override;
};
}
