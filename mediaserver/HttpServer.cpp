#include "HttpServer.hpp"

#include "HttpConnection.hpp"
#include "Log.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <csignal>
#include <unordered_set>

namespace MediaServer
{

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace
{

constexpr std::chrono::seconds kGraceTime{2};
constexpr std::chrono::milliseconds kAcceptPause{100};
constexpr int kAcceptedAtOnce = 16;

} // namespace

struct HttpServer::Private final : HttpConnection::Server
{
    using Server::Server;
    ~Private() { tornDown = true; }

    void acceptNext();
    void accept(error_code error);
    void letIn(tcp::socket socket);
    void connectionEnded(HttpConnection* connection) override;
    void beginStop();

    // Connections that are left when the context goes away report their end: these outlive it.
    bool tornDown = false;
    std::unordered_set<HttpConnection*> connections;
    RareWarning full;
    RareWarning acceptFailed;
    asio::io_context io{1};
    tcp::acceptor acceptor{io};
    asio::signal_set signals{io};
    asio::steady_timer acceptTimer{io};
    asio::steady_timer graceTimer{io};
};

void HttpServer::Private::acceptNext()
{
    if (stopping)
        return;
    acceptor.async_wait(tcp::acceptor::wait_read, [this](error_code error) {
        if (!stopping)
            accept(error);
    });
}

void HttpServer::Private::accept(error_code error)
{
    // With many downloads under way it takes a while until the event loop comes back here, so more than one comes in at a
    // time; but only a few, so that they are heard before they have to make room for the next.
    for (int i = 0; i < kAcceptedAtOnce && !error; ++i) {
        tcp::socket socket = acceptor.accept(error);
        if (!error)
            letIn(std::move(socket));
        else if (error == asio::error::connection_aborted)
            error.clear();
    }
    if (!error || error == asio::error::would_block)
        return acceptNext();
    // Most likely out of descriptors, which passes when connections end; trying at once would only burn time.
    acceptFailed.log(QStringLiteral("A connection could not be accepted"), QString::fromStdString(error.message()));
    acceptTimer.expires_after(kAcceptPause);
    acceptTimer.async_wait([this](error_code cancelled) {
        if (!cancelled)
            acceptNext();
    });
}

void HttpServer::Private::letIn(tcp::socket socket)
try {
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    error_code remoteError;
    error_code localError;
    const auto remote = socket.remote_endpoint(remoteError).address();
    const auto local = socket.local_endpoint(localError).address();
    if (remoteError || localError)
        return; // gone already
    const auto connection =
        std::make_shared<HttpConnection>(*this, std::move(socket), HttpConnection::clientAddress(remote, local));
    connections.insert(connection.get());
    if (roster.enter(*connection) == ConnectionRoster::Entry::Full) {
        full.log(QStringLiteral("All connections are in use; whoever has been waiting longest is sent away for a new one"),
                 QStringLiteral("%1 connections").arg(limits.clients.connections));
    }
    connection->readNext();
} catch (const std::exception& error) {
    logWarning(QStringLiteral("A connection was given up"), QString::fromLocal8Bit(error.what()));
}

void HttpServer::Private::connectionEnded(HttpConnection* connection)
{
    connections.erase(connection);
    if (!tornDown && stopping && connections.empty())
        graceTimer.cancel();
}

void HttpServer::Private::beginStop()
{
    if (stopping)
        return;
    stopping = true;
    error_code ignored;
    acceptor.close(ignored);
    signals.cancel(ignored);
    acceptTimer.cancel();
    for (HttpConnection* connection : connections)
        connection->finishUp();
    if (connections.empty())
        return;
    graceTimer.expires_after(kGraceTime);
    graceTimer.async_wait([this](error_code cancelled) {
        if (!cancelled)
            io.stop();
    });
}

HttpServer::HttpServer(const HttpLimits& limits) : d(std::make_unique<Private>(limits)) {}

HttpServer::~HttpServer() = default;

Result<HttpServer::Listening> HttpServer::listen(const QString& address, quint16 port)
{
    error_code error;
    const QString numeric = address == QLatin1String("localhost") ? QStringLiteral("127.0.0.1") : address;
    const auto parsed = asio::ip::make_address(numeric.toStdString(), error);
    if (error)
        return tl::unexpected(QStringLiteral("\"%1\" is not a numeric address such as 127.0.0.1 or ::1").arg(address));

    const tcp::endpoint wanted(parsed, port);
    const auto failed = [&](const char* step) {
        return tl::unexpected(QStringLiteral("Cannot %1 %2 port %3: %4")
                                  .arg(QLatin1String(step), address)
                                  .arg(port)
                                  .arg(QString::fromStdString(error.message())));
    };
    if (d->acceptor.open(wanted.protocol(), error))
        return failed("open a socket for");
    // A restarted server takes its port over from connections that are still winding down.
    d->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (d->acceptor.bind(wanted, error))
        return failed("listen on");
    if (d->acceptor.listen(tcp::acceptor::max_listen_connections, error) || d->acceptor.non_blocking(true, error))
        return failed("listen on");

    Listening listening;
    listening.port = d->acceptor.local_endpoint().port();
    listening.everywhere = parsed.is_unspecified();
    const QString host = QString::fromStdString(parsed.to_string());
    listening.url =
        (parsed.is_v6() ? QStringLiteral("http://[%1]:%2/") : QStringLiteral("http://%1:%2/")).arg(host).arg(listening.port);
    return listening;
}

void HttpServer::stopOnSignals()
{
    d->signals.add(SIGTERM);
    d->signals.add(SIGINT);
    d->signals.async_wait([this](error_code cancelled, int) {
        if (!cancelled)
            d->beginStop();
    });
}

void HttpServer::run(Handler handler)
{
    d->handler = std::move(handler);
    d->acceptNext();
    for (;;) {
        try {
            d->io.run();
            return;
        } catch (const std::exception& error) {
            // Costs the connection whose turn it was.
            logWarning(QStringLiteral("A connection was given up"), QString::fromLocal8Bit(error.what()));
        }
    }
}

void HttpServer::stop()
{
    asio::post(d->io, [this] { d->beginStop(); });
}

} // namespace MediaServer
