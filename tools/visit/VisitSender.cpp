#include "VisitSender.hpp"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Visit
{
Sender::~Sender()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

bool Sender::open()
{
    addrinfo hints{};
    hints.ai_socktype = m_target.isStream ? SOCK_STREAM : SOCK_DGRAM;
    addrinfo* found = nullptr;
    const std::string where = m_target.host + ':' + m_target.port;
    const int error = getaddrinfo(m_target.host.c_str(), m_target.port.c_str(), &hints, &found);
    if (error != 0) {
        m_errorText = "Failed to find " + where + " (" + gai_strerror(error) + "); check --to";
        return false;
    }
    for (const addrinfo* a = found; a && m_descriptor < 0; a = a->ai_next) {
        m_descriptor = socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol);
        if (m_descriptor >= 0 && connect(m_descriptor, a->ai_addr, a->ai_addrlen) != 0) {
            const int reason = errno;
            close(m_descriptor);
            m_descriptor = -1;
            errno = reason;
        }
    }
    if (m_descriptor < 0)
        m_errorText = "Failed to reach " + where + " (" + std::strerror(errno) + "); check --to and the network";
    freeaddrinfo(found);
    const int yes = 1;
    if (m_target.isStream && m_descriptor >= 0)
        setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes); // a touch must not wait for the next one
    return m_descriptor >= 0;
}

bool Sender::send(const std::vector<char>& packet)
{
    ++m_packetsSent;
    bool isSent = false;
    if (m_target.isStream) {
        std::vector<char> bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<char>(packet.size() >> shift));
        bytes.insert(bytes.end(), packet.begin(), packet.end());
        isSent = sendAll(bytes);
    } else {
        isSent = ::send(m_descriptor, packet.data(), packet.size(), 0) >= 0 || errno == ECONNREFUSED;
    }
    if (!isSent)
        m_errorText = "Failed to send to " + m_target.host + ':' + m_target.port + " (" + std::strerror(errno)
            + "); check --to and the network";
    return isSent;
}

bool Sender::sendAll(const std::vector<char>& bytes) const
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size = ::send(m_descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size < 0 && errno != EINTR)
            return false;
        sent += size < 0 ? 0 : static_cast<std::size_t>(size);
    }
    return true;
}
}
