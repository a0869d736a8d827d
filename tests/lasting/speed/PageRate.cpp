// Requests a second: "getuserpage" at the commands' door against a Beast server that sends the body back.

#include "Rows.hpp"

#include "commands/CommandDoor.hpp"
#include "items/ItemStore.hpp"

#include <Http/Server.hpp>

#include <QDir>
#include <QTemporaryDir>
#include <QUrl>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
namespace asio = boost::asio;
namespace http = boost::beast::http;
using Tcp = asio::ip::tcp;

constexpr int kConnections = 32;
constexpr int kRequests = 20000;
constexpr int kPeople = 100;

/// A connection of the rival: reads a request and sends its body back.
class Echo : public std::enable_shared_from_this<Echo>
{
public:
    explicit Echo(Tcp::socket socket) : m_stream(std::move(socket)) {}
    void read()
    {
        m_request = {};
        http::async_read(m_stream, m_buffer, m_request,
                         [self = shared_from_this()](boost::system::error_code error, std::size_t) {
                             if (!error)
                                 self->answer();
                         });
    }

private:
    void answer()
    {
        m_response = {http::status::ok, m_request.version()};
        m_response.set(http::field::content_type, "application/json");
        m_response.keep_alive(true);
        m_response.body() = std::move(m_request.body());
        m_response.prepare_payload();
        http::async_write(m_stream, m_response, [self = shared_from_this()](boost::system::error_code error, std::size_t) {
            if (!error)
                self->read();
        });
    }

    boost::beast::tcp_stream m_stream;
    boost::beast::flat_buffer m_buffer;
    http::request<http::string_body> m_request;
    http::response<http::string_body> m_response;
};

void accept(Tcp::acceptor& acceptor)
{
    acceptor.async_accept([&acceptor](boost::system::error_code error, Tcp::socket socket) {
        if (error)
            return;
        socket.set_option(Tcp::no_delay(true));
        std::make_shared<Echo>(std::move(socket))->read();
        accept(acceptor);
    });
}

std::string request(int number)
{
    const std::string body = R"({"command":"getuserpage","tessel":)" + std::to_string(number % kPeople) + "}";
    return "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// One connection of the client, which gives its next request when it has the answer.
class Caller
{
public:
    Caller(asio::io_context& context, int port, int& left) : m_stream(context), m_left(left)
    {
        m_stream.connect(Tcp::endpoint(asio::ip::address_v4::loopback(), static_cast<unsigned short>(port)));
        m_stream.socket().set_option(Tcp::no_delay(true));
    }
    void ask()
    {
        if (m_left-- <= 0)
            return m_stream.close();
        m_text = request(m_left + kPeople);
        asio::async_write(m_stream, asio::buffer(m_text), [this](boost::system::error_code error, std::size_t) {
            if (error)
                Bench::fail(QString::fromStdString(error.message()));
            m_answer = {};
            http::async_read(m_stream, m_buffer, m_answer, [this](boost::system::error_code readError, std::size_t) {
                if (readError || m_answer.result() != http::status::ok)
                    Bench::fail(QString::fromStdString("an answer: " + readError.message() + m_answer.body()));
                ask();
            });
        });
    }

private:
    boost::beast::tcp_stream m_stream;
    boost::beast::flat_buffer m_buffer;
    http::response<http::string_body> m_answer;
    std::string m_text;
    int& m_left;
};

/// Seconds for one request, as many clients see it together.
double timeEach(int port)
{
    asio::io_context context;
    int left = kRequests;
    std::vector<std::unique_ptr<Caller>> callers;
    for (int i = 0; i < kConnections; ++i)
        callers.push_back(std::make_unique<Caller>(context, port, left));
    return Bench::seconds([&] {
               for (const auto& caller : callers)
                   caller->ask();
               context.run();
           })
        / kRequests;
}

double echo()
{
    asio::io_context context;
    Tcp::acceptor acceptor(context, Tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    accept(acceptor);
    std::thread thread([&context] { context.run(); });
    const double result = timeEach(acceptor.local_endpoint().port());
    context.stop();
    thread.join();
    return result;
}

double getUserPage()
{
    const QTemporaryDir folder;
    QDir(folder.path()).mkdir(QStringLiteral("content"));
    const auto store = MediaServer::ItemStore::open(folder.filePath(QStringLiteral("pages.sqlite")));
    for (int i = 0; store && i < kPeople; ++i)
        (void)(*store)->tokenFor(i);
    Http::Server server;
    MediaServer::CommandDoor door(**store, folder.filePath(QStringLiteral("content")), QStringLiteral("http://museum.example/"),
                                  {}, server.poster());
    Http::Limits limits;
    limits.clients.connections = 2 * kConnections;
    const auto listening =
        server.listen({QStringLiteral("127.0.0.1"), 0, {}}, limits,
                      [&door](const Http::Request& asked, Http::Reply reply) { door.handle(asked, std::move(reply)); });
    if (!listening)
        Bench::fail(listening.error());
    std::thread thread([&server] { server.run(); });
    const double result = timeEach(QUrl(listening->url).port());
    server.stop();
    thread.join();
    return result;
}
}

namespace Bench
{
void pageRate()
{
    compare("getuserpage, each", getUserPage, "Beast echo", echo);
}
}
