#include "HttpClient.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <array>
#include <cctype>

namespace asio = boost::asio;
using asio::ip::tcp;
using Clock = std::chrono::steady_clock;

struct HttpClient::Private
{
    asio::io_context io;
    tcp::socket socket{io};
    std::string received;
    bool ended = false;

    /// Waits for more bytes or the end of the connection; false when neither has come at `deadline`.
    bool readSome(Clock::time_point deadline)
    {
        std::array<char, 16384> piece;
        bool arrived = false;
        socket.async_read_some(asio::buffer(piece), [&](boost::system::error_code error, std::size_t bytes) {
            arrived = error != asio::error::operation_aborted;
            ended = ended || bool(error);
            received.append(piece.data(), bytes);
        });
        io.restart();
        io.run_until(deadline);
        if (!arrived && socket.is_open()) {
            socket.cancel();
            io.restart();
            io.run();
            ended = false;
        }
        return arrived;
    }

    /// False when the body has not come whole.
    bool receiveChunks(HttpAnswer& answer, Clock::time_point deadline)
    {
        for (;;) {
            std::size_t end = std::string::npos;
            while ((end = received.find("\r\n")) == std::string::npos)
                if (ended || !readSome(deadline))
                    return false;
            const std::size_t length = std::strtoul(received.c_str(), nullptr, 16);
            while (received.size() < end + 2 + length + 2)
                if (ended || !readSome(deadline))
                    return false;
            answer.body += received.substr(end + 2, length);
            received.erase(0, end + 2 + length + 2);
            if (length == 0)
                return true;
        }
    }

    std::optional<HttpAnswer> receive(bool headOnly)
    {
        const auto deadline = Clock::now() + TestSupport::kPatience;
        std::size_t headEnd = std::string::npos;
        while ((headEnd = received.find("\r\n\r\n")) == std::string::npos) {
            if (ended || !readSome(deadline))
                return std::nullopt;
        }
        HttpAnswer answer;
        std::string head = received.substr(0, headEnd + 2);
        received.erase(0, headEnd + 4);
        answer.status = std::atoi(head.c_str() + std::min<std::size_t>(head.size(), 9));
        head.erase(0, head.find("\r\n") + 2);
        while (!head.empty()) {
            const std::size_t end = head.find("\r\n");
            const std::size_t colon = head.find(": ");
            std::string name = head.substr(0, colon);
            std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return char(std::tolower(c)); });
            answer.headers[name] = head.substr(colon + 2, end - colon - 2);
            head.erase(0, end + 2);
        }
        if (headOnly)
            return answer;
        if (answer.header("transfer-encoding") == "chunked")
            return receiveChunks(answer, deadline) ? std::optional<HttpAnswer>(answer) : std::nullopt;
        const std::size_t length = static_cast<std::size_t>(std::atol(answer.header("content-length").c_str()));
        while (received.size() < length) {
            if (ended || !readSome(deadline))
                return std::nullopt;
        }
        answer.body = received.substr(0, length);
        received.erase(0, length);
        return answer;
    }
};

std::string HttpAnswer::header(const std::string& name) const
{
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
}

HttpClient::HttpClient(std::uint16_t port, const std::string& from) : d(std::make_unique<Private>())
{
    boost::system::error_code error;
    if (!from.empty()) {
        d->socket.open(tcp::v4());
        d->socket.bind({asio::ip::make_address_v4(from), 0});
    }
    d->socket.connect({asio::ip::address_v4::loopback(), port}, error);
    d->ended = bool(error);
}

HttpClient::~HttpClient() = default;

bool HttpClient::send(const std::string& bytes)
{
    boost::system::error_code error;
    asio::write(d->socket, asio::buffer(bytes), error);
    return !error;
}

std::optional<HttpAnswer> HttpClient::receive()
{
    return d->receive(false);
}

std::optional<HttpAnswer> HttpClient::receiveHead()
{
    return d->receive(true);
}

bool HttpClient::isClosedWithin(std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    while (!d->ended && d->received.empty() && d->readSome(deadline)) {}
    return d->ended && d->received.empty();
}

void HttpClient::close()
{
    d->socket.close();
}

std::string requestText(const std::string& method, const std::string& target, const std::string& body)
{
    std::string text = method + " " + target + " HTTP/1.1\r\nHost: localhost\r\n";
    if (!body.empty() || method == "POST")
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

HttpAnswer ask(std::uint16_t port, const std::string& method, const std::string& target, const std::string& body)
{
    HttpClient client(port);
    client.send(requestText(method, target, body));
    return (method == "HEAD" ? client.receiveHead() : client.receive()).value_or(HttpAnswer{});
}
