#include <Tactile/DatagramSource.hpp>

#include <arpa/inet.h>

#include <algorithm>

namespace Tactile
{
namespace
{
constexpr std::array<std::uint8_t, 12> kIpv4Prefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
}

SenderAddress SenderAddress::fromIpv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d, std::uint16_t port) noexcept
{
    SenderAddress address;
    std::copy(kIpv4Prefix.begin(), kIpv4Prefix.end(), address.bytes.begin());
    address.bytes[12] = a;
    address.bytes[13] = b;
    address.bytes[14] = c;
    address.bytes[15] = d;
    address.port = port;
    return address;
}

std::string SenderAddress::toString() const
{
    char text[INET6_ADDRSTRLEN] = "";
    if (std::equal(kIpv4Prefix.begin(), kIpv4Prefix.end(), bytes.begin())) {
        inet_ntop(AF_INET, bytes.data() + kIpv4Prefix.size(), text, sizeof text);
        return std::string(text) + ':' + std::to_string(port);
    }
    inet_ntop(AF_INET6, bytes.data(), text, sizeof text);
    return '[' + std::string(text) + "]:" + std::to_string(port);
}
}
