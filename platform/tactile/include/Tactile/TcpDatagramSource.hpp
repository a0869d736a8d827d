#pragma once

#include <Tactile/NetworkDatagramSource.hpp>

#include <cstddef>

namespace Tactile
{
/// Receives packets from senders that connect by TCP, each packet led by its length: an int32, big end first. All
/// connections are read on one thread, in turn. The sender of a packet is the other end of its connection.
///
/// A connection that ends takes what it left of a packet with it, and nothing else: its contacts stay until their sender
/// is given up for its silence, so that it may connect again. A length that cannot be ends its connection, since what
/// follows cannot be told apart any more. A sender that never pauses is made to wait: see kPacketsPerTurn.
class TAVOLA_EXPORT TcpDatagramSource final : public NetworkDatagramSource
{
public:
    /// Connections at once; further ones are closed.
    static constexpr std::size_t kMaxConnections = 16;
    /// What is taken from a connection in a hundredth of a second: so many packets, or about so many bytes. Many times what
    /// a tracker sends, and little enough that the frames of the table go on.
    static constexpr std::size_t kPacketsPerTurn = 256;
    static constexpr std::size_t kBytesPerTurn = std::size_t(1) << 18;

    explicit TcpDatagramSource(NetworkSettings settings);
    ~TcpDatagramSource() override;

private:
    class Receiver;
    void receive() override;
};
}
