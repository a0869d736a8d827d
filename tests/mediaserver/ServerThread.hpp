#pragma once

#include "HttpServer.hpp"

#include <functional>
#include <memory>
#include <thread>

/// The real server on a thread of its own and a free port of this machine, stopped by the destructor.
class ServerThread
{
public:
    using Limits = MediaServer::HttpLimits;
    using Handler = MediaServer::HttpServer::Handler;
    /// Called on the server's thread with the address it listens on; so is the destructor of what it makes.
    using MakeHandler = std::function<Handler(const QString& url)>;

    ServerThread(const Limits& limits, const MakeHandler& makeHandler);
    ~ServerThread();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// Begins the end without waiting for it.
    void stop();

private:
    MediaServer::HttpServer* m_server = nullptr;
    std::uint16_t m_port = 0;
    std::thread m_thread;
};

/// A handler that serves the whole site from `database` and `contentFolder`, for ServerThread.
[[nodiscard]] ServerThread::MakeHandler siteFrom(const QString& database, const QString& contentFolder);
