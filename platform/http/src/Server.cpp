#include "Http/Server.hpp"

#include "Connection.hpp"
#include "DeadlineTimer.hpp"
#include "Listener.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>

#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <csignal>
#include <vector>

namespace Http
{
namespace asio = boost::asio;
using boost::system::error_code;

struct Server::Private
{
    Private() { gate->context = &io; }
    ~Private();

    void beginStop();
    void waitForHangup();
    /// Whether no connection is left, after which nothing keeps run() any more.
    bool endWhenEmpty();

    const std::shared_ptr<Gate> gate = std::make_shared<Gate>();
    bool isTornDown = false;
    // Connections that are left when the context is destroyed report their end to their door: the doors outlive it.
    std::vector<std::unique_ptr<Door>> doors;
    asio::io_context io{1};
    std::vector<std::unique_ptr<Listener>> listeners;
    std::vector<std::unique_ptr<DeadlineTimer>> deadlines; ///< one for each door
    asio::signal_set endSignals{io};
    asio::signal_set hangup{io};
    asio::steady_timer graceTimer{io};
    std::function<void()> hangupHandler;
    bool stopping = false;
};

Server::Private::~Private()
{
    isTornDown = true;
    // A connection that is owed an answer keeps itself.
    for (const auto& door : doors) {
        const std::vector<Connection*> connections(door->connections.begin(), door->connections.end());
        for (Connection* connection : connections)
            connection->giveUp();
    }
    const std::lock_guard<std::mutex> guard(gate->mutex);
    gate->context = nullptr;
}

bool Server::Private::endWhenEmpty()
{
    if (!std::all_of(doors.begin(), doors.end(), [](const auto& door) { return door->connections.empty(); }))
        return false;
    graceTimer.cancel();
    for (const auto& deadline : deadlines)
        deadline->stop();
    return true;
}

void Server::Private::beginStop()
{
    if (stopping)
        return;
    stopping = true;
    error_code ignored;
    endSignals.cancel(ignored);
    hangup.cancel(ignored);
    for (const auto& door : doors)
        door->stopping = true;
    for (const auto& listener : listeners)
        listener->close();
    for (const auto& door : doors) {
        // A connection that ends at once leaves the list.
        const std::vector<Connection*> connections(door->connections.begin(), door->connections.end());
        for (Connection* connection : connections)
            connection->finishUp();
    }
    if (endWhenEmpty())
        return;
    std::chrono::milliseconds grace{0};
    for (const auto& door : doors)
        grace = std::max(grace, door->limits.grace);
    graceTimer.expires_after(grace);
    graceTimer.async_wait([this](error_code cancelled) {
        if (!cancelled)
            io.stop();
    });
}

void Server::Private::waitForHangup()
{
    hangup.async_wait([this](error_code cancelled, int) {
        if (cancelled)
            return;
        waitForHangup();
        Bedrock::guarded("HttpServer # The handler of a hangup failed", hangupHandler);
    });
}

Server::Server() : d(std::make_unique<Private>()) {}

Server::~Server() = default;

tl::expected<Server::Listening, QString> Server::listen(const Address& address, const Limits& limits, Handler handler)
{
    auto door = std::make_unique<Door>(limits, std::move(handler), d->gate);
    door->connectionEnded = [this] {
        if (!d->isTornDown && d->stopping)
            (void)d->endWhenEmpty();
    };
    auto deadline = std::make_unique<DeadlineTimer>(d->io, *door);
    door->connectionBegan = [timer = deadline.get()] { timer->start(); };
    auto listener = std::make_unique<Listener>(d->io, *door);
    auto listening = listener->open(address);
    if (listening) {
        d->doors.push_back(std::move(door));
        d->listeners.push_back(std::move(listener));
        d->deadlines.push_back(std::move(deadline));
    }
    return listening;
}

void Server::stopOnSignals()
{
    d->endSignals.add(SIGTERM);
    d->endSignals.add(SIGINT);
    d->endSignals.async_wait([this](error_code cancelled, int) {
        if (!cancelled)
            d->beginStop();
    });
}

void Server::onHangup(std::function<void()> handler)
{
    d->hangupHandler = std::move(handler);
    d->hangup.add(SIGHUP);
    d->waitForHangup();
}

Server::Poster Server::poster()
{
    return [gate = d->gate](std::function<void()> function) {
        const std::lock_guard<std::mutex> guard(gate->mutex);
        if (!gate->context)
            return;
        asio::post(*gate->context, [function = std::move(function)] {
            Bedrock::guarded("HttpServer # A function that was posted failed", function);
        });
    };
}

void Server::run()
{
    for (const auto& listener : d->listeners)
        listener->acceptNext();
    // What is thrown costs the connection whose turn it was.
    const auto dropped = [](const char* reason) {
        Bedrock::Trace::warning("HttpServer # A connection was dropped (%s)", reason);
    };
    while (!Bedrock::guarded([this] { d->io.run(); }, dropped)) {}
}

void Server::stop()
{
    asio::post(d->io, [this] { d->beginStop(); });
}
}
