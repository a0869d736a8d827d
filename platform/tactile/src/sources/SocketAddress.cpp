#include "sources/SocketAddress.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>

namespace Tactile
{
bool SocketAddress::parse(const std::string& text, std::uint16_t port, SocketAddress& address)
{
    const std::string numeric = text == "localhost" ? "127.0.0.1" : text;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
    if (inet_pton(AF_INET, numeric.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(port);
        address.size = sizeof *v4;
        return true;
    }
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    if (inet_pton(AF_INET6, numeric.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(port);
        address.size = sizeof *v6;
        return true;
    }
    return false;
}

SenderAddress SocketAddress::toSender() const
{
    if (storage.ss_family == AF_INET) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(&storage);
        std::uint8_t b[4];
        std::memcpy(b, &v4->sin_addr, sizeof b);
        return SenderAddress::fromIpv4(b[0], b[1], b[2], b[3], ntohs(v4->sin_port));
    }
    const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&storage);
    SenderAddress sender;
    std::memcpy(sender.bytes.data(), &v6->sin6_addr, sender.bytes.size());
    sender.port = ntohs(v6->sin6_port);
    return sender;
}
}
