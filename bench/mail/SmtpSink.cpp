#include "SmtpSink.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Bench
{
namespace
{
constexpr std::size_t kBufferBytes = 256 * 1024;
constexpr std::string_view kEndOfData = "\r\n.\r\n";

void answer(int connection, std::string_view text)
{
    static_cast<void>(::send(connection, text.data(), text.size(), MSG_NOSIGNAL));
}
}

SmtpSink::SmtpSink() : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 || ::listen(m_listener, 8) != 0
        || ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("the sink cannot listen");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

SmtpSink::~SmtpSink()
{
    m_isEnding = true;
    ::shutdown(m_listener, SHUT_RDWR); // ends the accept
    m_thread.join();
    ::close(m_listener);
}

void SmtpSink::run()
{
    while (!m_isEnding) {
        const int connection = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        converse(connection);
        ::close(connection);
    }
}

void SmtpSink::converse(int connection)
{
    answer(connection, "220 sink\r\n");
    std::vector<char> buffer(kBufferBytes);
    std::string line; // what has come of a command
    std::string tail; // the last bytes of the data
    bool isData = false;
    while (true) {
        const ssize_t count = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (count <= 0)
            return;
        if (isData) {
            m_bytes += count;
            tail.append(buffer.data() + std::max<ssize_t>(0, count - ssize_t(kEndOfData.size())),
                        std::size_t(std::min<ssize_t>(count, ssize_t(kEndOfData.size()))));
            tail.erase(0, tail.size() > kEndOfData.size() ? tail.size() - kEndOfData.size() : 0);
            if (tail == kEndOfData) {
                isData = false;
                answer(connection, "250 taken\r\n");
            }
            continue;
        }
        line.append(buffer.data(), std::size_t(count));
        for (std::size_t end = line.find("\r\n"); end != std::string::npos; end = line.find("\r\n")) {
            const std::string command = line.substr(0, 4);
            line.erase(0, end + 2);
            if (command == "DATA") {
                isData = true;
                tail = "\r\n";
                answer(connection, "354 go on\r\n");
            } else {
                answer(connection, command == "QUIT" ? "221 bye\r\n" : "250 ok\r\n");
            }
        }
    }
}
}
