#pragma once

#include <Bedrock/Export.hpp>
#include <Http/Address.hpp>
#include <Http/Limits.hpp>
#include <Http/Message.hpp>
#include <Http/Reply.hpp>

#include <tl/expected.hpp>

#include <functional>
#include <memory>

namespace Http
{
/// HTTP/1.1 over TCP and Unix sockets: kept and pipelined connections, several doors with limits of their own on header,
/// body, time and number. Independent of what is served.
///
///     Server server;
///     const auto listening = server.listen(*Address::parse("127.0.0.1:0"), Limits{},
///                                          [](Request request, Reply reply) { reply.send(plainResponse(200, "Hello\n")); });
///     server.run();
///
/// One thread, that of run(). Only stop() and a Reply may be used on others.
class TAVOLA_EXPORT Server
{
public:
    /// Called on the thread of run(), for one request of a connection at a time. May answer at once or keep the reply; the next
    /// request of the connection is read when the answer has left. What it throws is logged and answered with 500.
    using Handler = std::function<void(Request, Reply)>;

    struct Listening
    {
        Address address; ///< with the port really in use
        QString url;     ///< "http://ADDRESS:PORT/"; empty for a Unix socket
    };

    Server();
    ~Server();

    /// Opens a door. Connections wait from now on and are served by run(). The file of a Unix socket is made for this
    /// user alone (0600); one that a dead server of this user left behind is replaced. A sentence for the operator on failure.
    [[nodiscard]] tl::expected<Listening, QString> listen(const Address& address, const Limits& limits, Handler handler);

    /// SIGTERM and SIGINT end run() as stop() does. Before run().
    void stopOnSignals();
    /// `handler` is called on the thread of run() at every SIGHUP. Before run().
    void onHangup(std::function<void()> handler);

    /// Serves until stopped. Call once.
    void run();

    /// Runs a function on the thread of run(), in the order of the calls; drops it once the server is gone. May be kept longer
    /// than the server and called on any thread.
    using Poster = std::function<void(std::function<void()>)>;
    [[nodiscard]] Poster poster();

    /// Ends run(): refuses new connections, closes idle ones, gives started requests `Limits::grace`. Any thread; once is enough.
    void stop();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
}
