#include <Tactile/UdpDatagramSource.hpp>

#include <Bedrock/Trace.hpp>
#include <Tactile/OscDecoder.hpp>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <system_error>
#include <utility>

namespace Tactile
{
namespace
{
// A second of a busy table while the input thread does not get to run.
constexpr int kReceiveBufferBytes = 1 << 20;

struct SocketAddress
{
    sockaddr_storage storage{};
    socklen_t size = sizeof(sockaddr_storage);

    [[nodiscard]] sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage); }
};

bool parseAddress(const std::string& text, std::uint16_t port, SocketAddress& address)
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

SenderAddress toSender(const SocketAddress& address)
{
    if (address.storage.ss_family == AF_INET) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(&address.storage);
        std::uint8_t b[4];
        std::memcpy(b, &v4->sin_addr, sizeof b);
        return SenderAddress::fromIpv4(b[0], b[1], b[2], b[3], ntohs(v4->sin_port));
    }
    const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&address.storage);
    SenderAddress sender;
    std::memcpy(sender.bytes.data(), &v6->sin6_addr, sender.bytes.size());
    sender.port = ntohs(v6->sin6_port);
    return sender;
}

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
}

UdpDatagramSource::UdpDatagramSource(UdpSettings settings) : m_settings(std::move(settings)) {}

UdpDatagramSource::~UdpDatagramSource()
{
    stop();
}

bool UdpDatagramSource::fail(std::string text)
{
    m_errorText = std::move(text);
    closeIfOpen(m_socket);
    closeIfOpen(m_wakeRead);
    closeIfOpen(m_wakeWrite);
    m_port = 0;
    Bedrock::Trace::error("%s", m_errorText.c_str());
    return false;
}

bool UdpDatagramSource::readAllowedSenders()
{
    for (const std::string& text : m_settings.allowedSenders) {
        SocketAddress address;
        if (!parseAddress(text, 0, address))
            return fail("UdpDatagramSource # Failed to read the allowed sender \"" + text +
                        "\"; give a numeric address such as 192.168.0.20");
        m_allowed.push_back(toSender(address));
    }
    return true;
}

bool UdpDatagramSource::openSocket()
{
    const std::string where = m_settings.address + ':' + std::to_string(m_settings.port);
    SocketAddress address;
    if (!parseAddress(m_settings.address, m_settings.port, address))
        return fail("UdpDatagramSource # Failed to listen on " + where +
                    " (not a numeric address); give one of this machine's addresses, such as 127.0.0.1");
    m_socket = ::socket(address.storage.ss_family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_socket < 0)
        return fail("UdpDatagramSource # Failed to make a socket for " + where + " (" + systemError(errno) +
                    "); look at this machine's network and its limit of open files");
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes);
    if (::bind(m_socket, address.get(), address.size) != 0) {
        const int number = errno;
        const char* remedy = "choose another address or port";
        if (number == EADDRINUSE)
            remedy = "close the program that listens there, or choose another port";
        else if (number == EADDRNOTAVAIL)
            remedy = "give an address of this machine, or 0.0.0.0 for all of them";
        else if (number == EACCES)
            remedy = "choose a port from 1024 on";
        return fail("UdpDatagramSource # Failed to listen on " + where + " (" + systemError(number) + "); " + remedy);
    }
    SocketAddress bound;
    if (::getsockname(m_socket, bound.get(), &bound.size) != 0)
        return fail("UdpDatagramSource # Failed to learn the port of " + where + " (" + systemError(errno) +
                    "); choose a port rather than 0");
    m_port = toSender(bound).port;
    return true;
}

bool UdpDatagramSource::start(Handler handler)
{
    assert(!m_handler && "a source is started once");
    m_handler = std::move(handler);
    if (!readAllowedSenders() || !openSocket())
        return false;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return fail("UdpDatagramSource # Failed to make a pipe (" + systemError(errno) +
                    "); raise this machine's limit of open files");
    m_wakeRead = ends[0];
    m_wakeWrite = ends[1];

    // Signals are the main thread's business; a new thread inherits the mask.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error& e) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return fail(std::string("UdpDatagramSource # Failed to start its thread (") + e.what() +
                    "); raise this machine's limit of threads");
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return true;
}

void UdpDatagramSource::stop()
{
    if (m_thread.joinable()) {
        const char wake = 0;
        while (::write(m_wakeWrite, &wake, 1) < 0 && errno == EINTR) {
        }
        m_thread.join();
    }
    closeIfOpen(m_socket);
    closeIfOpen(m_wakeRead);
    closeIfOpen(m_wakeWrite);
}

bool UdpDatagramSource::isAllowed(const SenderAddress& sender) const noexcept
{
    return m_allowed.empty() || std::any_of(m_allowed.begin(), m_allowed.end(),
                                            [&sender](const SenderAddress& a) { return a.bytes == sender.bytes; });
}

void UdpDatagramSource::receiveAll(std::vector<char>& buffer)
{
    for (;;) {
        SocketAddress from;
        const ssize_t size = ::recvfrom(m_socket, buffer.data(), buffer.size(), 0, from.get(), &from.size);
        if (size < 0) {
            if (errno == EINTR)
                continue;
            return; // nothing left, or an error that concerns one datagram only: poll tells of the next
        }
        const SenderAddress sender = toSender(from);
        if (!isAllowed(sender)) {
            if (m_refusedSenders++ == 0)
                Bedrock::Trace::warning("UdpDatagramSource # Refused a datagram from %s (not among the allowed senders); "
                                        "further ones are only counted",
                                        sender.toString().c_str());
            continue;
        }
        try {
            m_handler({buffer.data(), static_cast<std::size_t>(size), sender});
        } catch (const std::exception& e) {
            Bedrock::Trace::error("UdpDatagramSource # Failed to handle a datagram (%s); it is dropped", e.what());
        }
        pollfd wake{m_wakeRead, POLLIN, 0};
        if (::poll(&wake, 1, 0) > 0)
            return; // a flood must not keep the thread from ending
    }
}

void UdpDatagramSource::run()
{
    std::vector<char> buffer(OscDecoder::kMaxPacketBytes);
    for (;;) {
        pollfd waiting[2] = {{m_socket, POLLIN, 0}, {m_wakeRead, POLLIN, 0}};
        if (::poll(waiting, 2, -1) < 0 && errno != EINTR) {
            Bedrock::Trace::error("UdpDatagramSource # Failed to wait for datagrams (%s); it listens no more",
                                  systemError(errno).c_str());
            return;
        }
        if (waiting[1].revents != 0)
            return;
        if (waiting[0].revents != 0)
            receiveAll(buffer);
    }
}
}
