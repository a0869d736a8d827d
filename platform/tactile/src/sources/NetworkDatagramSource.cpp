#include <Tactile/NetworkDatagramSource.hpp>

#include "sources/SocketAddress.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace Tactile
{
namespace
{
// Holds a second of a busy table while the input thread gets no processor time. With TCP the sender waits instead.
constexpr int kReceiveBufferBytes = 1 << 20;
constexpr int kWaitingConnections = 16;

std::string systemError(int number)
{
    return std::generic_category().message(number);
}

void closeIfOpen(int& descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

const char* remedyFor(int number)
{
    switch (number) {
    case EADDRINUSE: return "close the program that listens there, or choose another port";
    case EADDRNOTAVAIL: return "give an address of this machine, or 0.0.0.0 for all of them";
    case EACCES: return "choose a port from 1024 on";
    default: return "choose another address or port";
    }
}
}

NetworkDatagramSource::NetworkDatagramSource(const char* name, Transport transport, NetworkSettings settings)
    : m_name(name), m_transport(transport), m_settings(std::move(settings))
{
}

NetworkDatagramSource::~NetworkDatagramSource()
{
    assert(!m_thread.joinable() && "a derived class stops in its destructor: its thread uses it");
}

bool NetworkDatagramSource::fail(const std::string& text)
{
    m_errorText = std::string(m_name) + " # " + text;
    closeIfOpen(m_socket);
    closeIfOpen(m_wakeRead);
    closeIfOpen(m_wakeWrite);
    m_port = 0;
    Bedrock::Trace::error("%s", m_errorText.c_str());
    return false;
}

bool NetworkDatagramSource::readAllowedSenders()
{
    for (const std::string& text : m_settings.allowedSenders) {
        SocketAddress address;
        if (!SocketAddress::parse(text, 0, address))
            return fail("Failed to read the allowed sender \"" + text + "\"; give a numeric address such as 192.168.0.20");
        m_allowed.push_back(address.toSender());
    }
    return true;
}

bool NetworkDatagramSource::openSocket()
{
    const bool isStream = m_transport == Transport::Streams;
    const std::string where = m_settings.address + ':' + std::to_string(m_settings.port);
    SocketAddress address;
    if (!SocketAddress::parse(m_settings.address, m_settings.port, address))
        return fail("Failed to listen on " + where
                    + " (not a numeric address); give one of this machine's addresses, such as 127.0.0.1");
    m_socket = ::socket(address.storage.ss_family, (isStream ? SOCK_STREAM : SOCK_DGRAM) | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_socket < 0)
        return fail("Failed to make a socket for " + where + " (" + systemError(errno)
                    + "); check this machine's network and the limit of open files");
    // Connections of a table that has just ended must not keep the port from the next table.
    const int yes = 1;
    if (isStream)
        ::setsockopt(m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    else
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes);
    if (::bind(m_socket, address.get(), address.size) != 0 || (isStream && ::listen(m_socket, kWaitingConnections) != 0)) {
        const int number = errno;
        return fail("Failed to listen on " + where + " (" + systemError(number) + "); " + remedyFor(number));
    }
    SocketAddress bound;
    if (::getsockname(m_socket, bound.get(), &bound.size) != 0)
        return fail("Failed to learn the port of " + where + " (" + systemError(errno) + "); choose a port rather than 0");
    m_port = bound.toSender().port;
    return true;
}

bool NetworkDatagramSource::openPipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return fail("Failed to make a pipe (" + systemError(errno) + "); raise this machine's limit of open files");
    m_wakeRead = ends[0];
    m_wakeWrite = ends[1];
    return true;
}

bool NetworkDatagramSource::start(Handler handler)
{
    assert(!m_handler && "a source is started once");
    m_handler = std::move(handler);
    if (!readAllowedSenders() || !openSocket() || !openPipe())
        return false;

    // Signals go to the main thread; a new thread inherits this mask.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        m_thread = std::thread([this] { receive(); });
    } catch (const std::system_error& e) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return fail(std::string("Failed to start its thread (") + e.what() + "); raise this machine's limit of threads");
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return true;
}

void NetworkDatagramSource::stop()
{
    if (m_thread.joinable()) {
        const char wake = 0;
        while (::write(m_wakeWrite, &wake, 1) < 0 && errno == EINTR) {}
        m_thread.join();
    }
    closeIfOpen(m_socket);
    closeIfOpen(m_wakeRead);
    closeIfOpen(m_wakeWrite);
}

bool NetworkDatagramSource::isWoken() const
{
    pollfd wake{m_wakeRead, POLLIN, 0};
    return ::poll(&wake, 1, 0) > 0;
}

bool NetworkDatagramSource::isAllowed(const SenderAddress& sender, const char* what)
{
    if (m_allowed.empty()
        || std::any_of(m_allowed.begin(), m_allowed.end(), [&sender](const SenderAddress& a) { return a.bytes == sender.bytes; }))
        return true;
    // Counted after the line is written: a reader that sees the count finds the line.
    if (m_refusedSenders == 0)
        Bedrock::Trace::warning("%s # Refused %s from %s (not among the allowed senders); further ones are only counted", m_name,
                                what, sender.toString().c_str());
    ++m_refusedSenders;
    return false;
}

void NetworkDatagramSource::deliver(const Datagram& datagram) const
{
    Bedrock::guarded([&] { m_handler(datagram); },
                     [this](const char* reason) {
                         Bedrock::Trace::error("%s # Failed to handle a datagram (%s); it is dropped", m_name, reason);
                     });
}
}
