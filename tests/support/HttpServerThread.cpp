#include "HttpServerThread.hpp"

#include <doctest/doctest.h>

#include <future>
#include <memory>

HttpServerThread::HttpServerThread(const Http::Limits& limits, const MakeHandler& makeHandler)
{
    start(
        limits,
        [makeHandler](const QString& url, Http::Server&) -> Http::Server::Handler {
            return
                [handler = makeHandler(url)](const Http::Request& request, Http::Reply reply) { reply.send(handler(request)); };
        },
        QStringLiteral("127.0.0.1:0"));
}

HttpServerThread::HttpServerThread(const Http::Limits& limits, Http::Server::Handler handler, const QString& address)
{
    start(
        limits, [handler](const QString&, Http::Server&) { return handler; }, address);
}

HttpServerThread::HttpServerThread(const Http::Limits& limits, const MakeServerHandler& makeHandler)
{
    start(limits, makeHandler, QStringLiteral("127.0.0.1:0"));
}

void HttpServerThread::start(const Http::Limits& limits, const MakeServerHandler& makeHandler, const QString& address)
{
    std::promise<Http::Server*> started;
    m_thread = std::thread([&, limits] {
        // The handler is made when the address is known, and destroyed after the server.
        const auto handler = std::make_shared<Http::Server::Handler>();
        Http::Server server;
        const auto listening =
            server.listen(*Http::Address::parse(address), limits, [handler](Http::Request request, Http::Reply reply) {
                (*handler)(std::move(request), std::move(reply));
            });
        if (!listening) {
            started.set_value(nullptr);
            return;
        }
        *handler = makeHandler(listening->url, server);
        m_port = listening->address.port;
        started.set_value(&server);
        server.run();
    });
    m_server = started.get_future().get();
    if (!m_server)
        m_thread.join();
    REQUIRE(m_server != nullptr);
}

HttpServerThread::~HttpServerThread()
{
    stop();
    m_thread.join();
}

void HttpServerThread::stop()
{
    // The server is there until run() has ended, and that ends by this alone.
    if (m_server)
        m_server->stop();
    m_server = nullptr;
}
