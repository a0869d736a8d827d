#include "PostgresProxy.hpp"

#include <doctest/doctest.h>

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
/// How often the thread reads the flags.
constexpr int kRoundMs = 5;

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

struct Line
{
    int program;
    int server;
    bool isCutAtAnswer = false;
};

bool isReadable(int descriptor)
{
    pollfd polled{descriptor, POLLIN, 0};
    return ::poll(&polled, 1, 0) > 0;
}

/// Passes on what is there. Returns it; null at the end of the connection.
QByteArray passOn(int from, int to)
{
    std::array<char, 65536> buffer;
    const ssize_t count = ::recv(from, buffer.data(), buffer.size(), 0);
    if (count <= 0)
        return {};
    const QByteArray bytes(buffer.data(), static_cast<int>(count));
    if (to >= 0)
        (void)::send(to, bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
    return bytes;
}

/// Moves what is there; false when the line has ended.
bool serve(Line& line, std::atomic<bool>& cutsAnswer, const QByteArray& cutCommand)
{
    if (isReadable(line.program)) {
        const QByteArray bytes = passOn(line.program, line.server);
        if (bytes.isNull())
            return false;
        if (cutsAnswer && bytes.contains(cutCommand)) {
            cutsAnswer = false;
            line.isCutAtAnswer = true;
        }
    }
    if (!isReadable(line.server))
        return true;
    return !passOn(line.server, line.isCutAtAnswer ? -1 : line.program).isNull() && !line.isCutAtAnswer;
}
}

PostgresProxy::PostgresProxy(int serverPort) : m_serverPort(serverPort)
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    REQUIRE(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) == 0);
    REQUIRE(::listen(m_listener, 16) == 0);
    REQUIRE(::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) == 0);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

PostgresProxy::~PostgresProxy()
{
    m_isEnding = true;
    m_thread.join();
    ::close(m_listener);
}

void PostgresProxy::cutAnswerTo(const QByteArray& command, Then then)
{
    m_cutCommand = command;
    m_afterCut = then;
    m_cutsAnswer = true;
}

void PostgresProxy::thaw()
{
    m_isFrozen = false;
}

void PostgresProxy::run()
{
    std::vector<Line> lines;
    const auto endAll = [&lines] {
        for (const Line& line : lines) {
            ::close(line.program);
            ::close(line.server);
        }
        lines.clear();
    };
    bool wasFrozen = false;
    while (!m_isEnding) {
        if (m_isFrozen) {
            wasFrozen = true;
            ::poll(nullptr, 0, kRoundMs);
            continue;
        }
        if (std::exchange(wasFrozen, false))
            endAll();
        std::vector<pollfd> polled{{m_listener, POLLIN, 0}};
        for (const Line& line : lines) {
            polled.push_back({line.program, POLLIN, 0});
            polled.push_back({line.server, POLLIN, 0});
        }
        ::poll(polled.data(), polled.size(), kRoundMs);
        if (polled.front().revents != 0) {
            const int program = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            const sockaddr_in address = loopback(m_serverPort);
            ++m_connections;
            if (::connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
                lines.push_back({program, server});
            } else {
                ::close(program);
                ::close(server);
            }
        }
        for (std::size_t i = lines.size(); i-- > 0;) {
            if (serve(lines[i], m_cutsAnswer, m_cutCommand))
                continue;
            if (lines[i].isCutAtAnswer && m_afterCut == Then::Freeze)
                m_isFrozen = true;
            ::close(lines[i].program);
            ::close(lines[i].server);
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    endAll();
}
