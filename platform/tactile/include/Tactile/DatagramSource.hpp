#pragma once

#include <Bedrock/Export.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Tactile
{
/// The address that sent a datagram. IPv4 addresses are stored as IPv4-mapped IPv6 addresses.
struct TAVOLA_EXPORT SenderAddress
{
    std::array<std::uint8_t, 16> bytes{};
    std::uint16_t port = 0;

    [[nodiscard]] static SenderAddress fromIpv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d,
                                                std::uint16_t port) noexcept;
    /// "127.0.0.1:3333", "[::1]:3333".
    [[nodiscard]] std::string toString() const;

    friend bool operator==(const SenderAddress& a, const SenderAddress& b) noexcept
    {
        return a.port == b.port && a.bytes == b.bytes;
    }
    friend bool operator!=(const SenderAddress& a, const SenderAddress& b) noexcept { return !(a == b); }
};

/// One received packet; the bytes belong to the source and are valid during the call only.
struct Datagram
{
    const char* data = nullptr;
    std::size_t size = 0;
    SenderAddress sender;
};

/// Delivers packets: from a UDP or TCP socket, a recording, or a test. Owned by the input that it feeds.
class TAVOLA_EXPORT DatagramSource
{
public:
    /// Called for each datagram, one at a time, on a thread that the source chooses.
    using Handler = std::function<void(const Datagram&)>;

    virtual ~DatagramSource() = default;

    /// Begins to deliver. False when it cannot; errorText() then gives the reason and the remedy. Call at most once.
    [[nodiscard]] virtual bool start(Handler handler) = 0;
    /// When it returns, the handler is not running and will not be called again. Without effect when not started.
    virtual void stop() = 0;
    [[nodiscard]] virtual std::string errorText() const = 0;
};
}
