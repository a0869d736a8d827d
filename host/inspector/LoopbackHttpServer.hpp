#pragma once

#include <QByteArray>
#include <QString>
#include <QUrlQuery>

#include <functional>
#include <memory>

namespace Host
{
/// A small HTTP/1.1 server for tools on this machine: listens on the loopback address only, answers on the main thread, one
/// request after the other in all and at most one of a connection per turn of the event loop, when the answer before has
/// been taken: who asks faster than they read does not stop the table. Requests have limits on header, body and time, and must
/// name this machine as their host and origin, so that a web page somewhere cannot reach it through a visitor's browser.
class LoopbackHttpServer
{
public:
    static constexpr unsigned kHeaderLimit = 16 * 1024;
    static constexpr unsigned kBodyLimit = 1024 * 1024;
    static constexpr int kMostConnections = 32;
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
        /// When set: makes the answer that is sent in the place of this one, on a thread of the server, while frames go on.
        /// It must touch nothing that belongs to the main thread.
        std::function<Response()> later = nullptr;
    };
    /// May let Qt's events through; further requests wait meanwhile. HEAD comes as GET. What it throws is a 500.
    using Handler = std::function<Response(const Request&)>;

    explicit LoopbackHttpServer(Handler handler);
    ~LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    /// Port 0 lets the system choose. False, with the reason in `error`, when the port is taken.
    [[nodiscard]] bool listen(int port, QString& error);
    [[nodiscard]] int port() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
