#pragma once

#include <Tactile/DatagramSource.hpp>

#include <sys/socket.h>

#include <cstdint>
#include <string>

namespace Tactile
{
/// An address in the form of the operating system's functions.
struct SocketAddress
{
    sockaddr_storage storage{};
    socklen_t size = sizeof(sockaddr_storage); ///< initially all of it, for a function that fills it in

    [[nodiscard]] sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
    [[nodiscard]] SenderAddress toSender() const;

    /// A numeric IPv4 or IPv6 address, or "localhost". False for any other text.
    [[nodiscard]] static bool parse(const std::string& text, std::uint16_t port, SocketAddress& address);
};
}
