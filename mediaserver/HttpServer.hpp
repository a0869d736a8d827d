#pragma once

#include "ConnectionRoster.hpp"
#include "HttpMessage.hpp"
#include "Result.hpp"

#include <chrono>
#include <functional>
#include <memory>

namespace MediaServer
{

/// What clients may ask of the server.
struct HttpLimits
{
    std::size_t headerBytes = 8 * 1024; ///< more is answered with 431
    std::size_t bodyBytes = 64 * 1024;  ///< more is answered with 413
    /// For a whole request to arrive, for the next one on a kept connection, and for each piece of an answer to leave.
    std::chrono::milliseconds timeout{10000};
    ConnectionLimits clients; ///< a download too many is answered with 503
};

/// HTTP/1.1 over TCP: kept and pipelined connections, limits on header, body, time and number. It knows nothing of what
/// is served.
///
///     HttpServer server(HttpLimits {});
///     const auto listening = server.listen("127.0.0.1", 0);
///     server.run([](const HttpRequest& request) { ... return response; });
///
/// One thread, the one that calls run(); only stop() may be called from elsewhere.
class HttpServer
{
public:
    /// Called on the thread of run(), one request at a time. What it throws is logged and answered with 500.
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    struct Listening
    {
        QString url; ///< "http://ADDRESS:PORT/" with the port really in use
        quint16 port = 0;
        bool everywhere = false; ///< the address is a wildcard, so `url` is of no use to other devices
    };

    explicit HttpServer(const HttpLimits& limits);
    ~HttpServer();

    /// `address`: numeric IPv4 or IPv6 address, or "localhost". `port` 0 chooses a free one. Connections wait from now on.
    [[nodiscard]] Result<Listening> listen(const QString& address, quint16 port);

    /// SIGTERM and SIGINT end run() as stop() does. Before run().
    void stopOnSignals();

    /// Serves until stopped. Call once.
    void run(Handler handler);

    /// Ends run(): accepts nobody more, closes idle connections, gives started requests two seconds. Any thread; once is enough.
    void stop();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace MediaServer
