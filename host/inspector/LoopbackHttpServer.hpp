#pragma once

#include <QByteArray>
#include <QString>
#include <QUrlQuery>

#include <functional>
#include <memory>

namespace Host
{
/// The HTTP server of tools on this machine: listens on the loopback address only and answers on the main thread, one request
/// after the other in all and one per turn of the event loop. Requests are read, and answers sent, on a thread of the server;
/// a client that asks faster than it reads has to wait and does not stop the table. Requests must name this machine as
/// their host and origin, so that a web page somewhere cannot reach the table through a browser on it.
class LoopbackHttpServer
{
public:
    static constexpr unsigned kHeaderLimit = 16 * 1024;
    static constexpr unsigned kBodyLimit = 1024 * 1024;
    /// One more ends the one that has waited longest for a request.
    static constexpr std::size_t kMostConnections = 32;
    /// A connection on which nothing whole comes or goes for so long is cut.
    static constexpr int kRequestTimeoutMs = 10000;

    struct Request
    {
        QByteArray method;
        QString path;
        QUrlQuery query;
        QByteArray body;
    };
    struct Response
    {
        int status = 200;
        QByteArray contentType = QByteArrayLiteral("application/json");
        QByteArray body;
        /// When set: makes the answer that is sent in the place of this one, on another thread, while frames go on. It must
        /// touch nothing that belongs to the main thread.
        std::function<Response()> later = nullptr;
    };
    /// May let Qt's events through; further requests wait meanwhile. HEAD comes as GET. What it throws is a 500.
    using Handler = std::function<Response(const Request&)>;

    explicit LoopbackHttpServer(Handler handler);
    ~LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    /// Port 0 lets the system choose. False, with the reason in `error`, when the port is taken. Once.
    [[nodiscard]] bool listen(int port, QString& error);
    [[nodiscard]] int port() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
