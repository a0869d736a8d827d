#pragma once

#include <doctest/doctest.h>

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace TestSupport
{
/// A port of 127.0.0.1 at which nothing listens, and which no program gets as long as this object lives: connections and
/// datagrams to it are refused by the system.
class ReservedPort
{
public:
    /// `type`: SOCK_STREAM or SOCK_DGRAM.
    explicit ReservedPort(int type = SOCK_STREAM) : m_socket(::socket(AF_INET, type | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        REQUIRE(::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
        socklen_t size = sizeof address;
        REQUIRE(::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) == 0);
        m_port = ntohs(address.sin_port);
        if (type == SOCK_DGRAM) {
            // Takes datagrams from this one address only, at which there is no sender.
            address.sin_port = htons(9);
            REQUIRE(::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
        }
    }
    ~ReservedPort()
    {
        if (m_socket >= 0)
            ::close(m_socket);
    }
    ReservedPort(const ReservedPort&) = delete;
    ReservedPort& operator=(const ReservedPort&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Listens from now on; the socket, which is returned, belongs to the caller. Once, and only for SOCK_STREAM.
    [[nodiscard]] int listen()
    {
        REQUIRE(::listen(m_socket, 16) == 0);
        return std::exchange(m_socket, -1);
    }

private:
    int m_socket;
    std::uint16_t m_port = 0;
};
}
