#pragma once

#include <Http/Server.hpp>

#include <QString>

#include <cstdint>
#include <functional>
#include <thread>

/// The real server on a thread of its own and a free port of this machine, stopped by the destructor.
class HttpServerThread
{
public:
    using Handler = std::function<Http::Response(const Http::Request&)>;
    /// Called on the server's thread with the address it listens on; so is the destructor of what it makes.
    using MakeHandler = std::function<Handler(const QString& url)>;

    HttpServerThread(const Http::Limits& limits, const MakeHandler& makeHandler);
    /// The same, for what may keep its replies and posts to the server's thread.
    using MakeServerHandler = std::function<Http::Server::Handler(const QString& url, Http::Server& server)>;
    HttpServerThread(const Http::Limits& limits, const MakeServerHandler& makeHandler);
    /// With a handler that may keep its replies, at `address`.
    HttpServerThread(const Http::Limits& limits, Http::Server::Handler handler,
                     const QString& address = QStringLiteral("127.0.0.1:0"));
    ~HttpServerThread();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Begins the end without waiting for it.
    void stop();

private:
    void start(const Http::Limits& limits, const MakeServerHandler& makeHandler, const QString& address);

    Http::Server* m_server = nullptr;
    std::uint16_t m_port = 0;
    std::thread m_thread;
};
