#pragma once

#include "Patience.hpp"

#include <doctest/doctest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

/// `packet` as it goes through a stream: led by its length.
inline std::string framed(const std::vector<char>& packet)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(packet.size() >> shift);
    return bytes.append(packet.begin(), packet.end());
}

/// The tracker's end of a connection to this machine, from one of the loopback addresses. Waits no longer than
/// kPatience.
class LoopbackStream
{
public:
    explicit LoopbackStream(std::uint16_t port, const char* from = "127.0.0.1")
        : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval patience{TestSupport::kPatience.count(), 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        inet_pton(AF_INET, from, &address.sin_addr);
        REQUIRE(bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
        inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
        address.sin_port = htons(port);
        REQUIRE(connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
    }
    ~LoopbackStream() { end(); }
    LoopbackStream(const LoopbackStream&) = delete;
    LoopbackStream& operator=(const LoopbackStream&) = delete;

    /// All of it. False when the other end has closed, or takes nothing for too long.
    [[nodiscard]] bool trySend(const std::string& bytes) const
    {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t size = ::send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (size < 0)
                return false;
            sent += static_cast<std::size_t>(size);
        }
        return true;
    }
    void send(const std::string& bytes) const { REQUIRE(trySend(bytes)); }
    void send(const std::vector<char>& packet) const { send(framed(packet)); }

    /// Waits for the other end to close.
    [[nodiscard]] bool isClosed() const
    {
        char byte = 0;
        const ssize_t size = recv(m_socket, &byte, 1, 0);
        return size == 0 || (size < 0 && errno == ECONNRESET);
    }
    /// This end's port.
    [[nodiscard]] std::uint16_t port() const
    {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        REQUIRE(getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) == 0);
        return ntohs(address.sin_port);
    }
    void end()
    {
        if (m_socket >= 0)
            close(m_socket);
        m_socket = -1;
    }

private:
    int m_socket;
};
