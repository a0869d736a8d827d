#include "inspector/LoopbackHttpServer.hpp"

#include <Bedrock/Guarded.hpp>
#include <Bedrock/Trace.hpp>
#include <Bedrock/WorkerPool.hpp>
#include <Http/Server.hpp>

#include <QSocketNotifier>
#include <QUrl>

#include <deque>
#include <mutex>
#include <optional>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace Host
{
namespace
{
Http::Limits limits()
{
    Http::Limits limits;
    limits.headerBytes = LoopbackHttpServer::kHeaderLimit;
    limits.bodyBytes = LoopbackHttpServer::kBodyLimit;
    limits.timeout = std::chrono::milliseconds(LoopbackHttpServer::kRequestTimeoutMs);
    limits.clients.connections = LoopbackHttpServer::kMostConnections;
    limits.clients.keptFree = 0; // a tool may fetch as many pictures as it has connections
    return limits;
}

LoopbackHttpServer::Request requestFor(const Http::Request& sent)
{
    const QUrl url(QString::fromUtf8(sent.target));
    LoopbackHttpServer::Request request;
    request.method = sent.method == "HEAD" ? QByteArrayLiteral("GET") : sent.method;
    request.path = url.path();
    request.query = QUrlQuery(url);
    request.body = sent.body;
    return request;
}

Http::Response sendable(const LoopbackHttpServer::Response& response)
{
    Http::Response sent;
    sent.status = response.status;
    sent.contentType = response.contentType;
    sent.body = response.body;
    sent.addHeader("Cache-Control", "no-store");
    return sent;
}

/// What `make` returns; an exception is logged after `what` and answered with 500.
template <class Make>
LoopbackHttpServer::Response made(const Make& make, const QByteArray& what)
{
    LoopbackHttpServer::Response response;
    Bedrock::guarded([&] { response = make(); },
                     [&](const char* reason) {
                         Bedrock::Trace::error("LoopbackHttpServer # %s failed (%s)", what.constData(), reason);
                         response = {500, "text/plain; charset=utf-8", QByteArray(reason) + '\n'};
                     });
    return response;
}
}

/// A request goes from the server's thread to the main one through a list behind a mutex; an event descriptor wakes the
/// event loop, once for each request. The answer goes back by the request's reply.
struct LoopbackHttpServer::Private
{
    struct Asked
    {
        Http::Request request;
        Http::Reply reply;
    };

    explicit Private(Handler handlerToCall) : handler(std::move(handlerToCall)) {}
    ~Private();

    /// The server's thread.
    void enqueue(Http::Request request, Http::Reply reply);
    /// Main thread, as the rest.
    void answerNext();
    [[nodiscard]] std::optional<Asked> next();

    Handler handler;
    int port = 0;
    int wake = -1;
    std::unique_ptr<QSocketNotifier> notifier;
    std::mutex mutex; ///< guards `asked`
    std::deque<Asked> asked;
    std::unique_ptr<Http::Server> server;
    std::thread thread;
    Bedrock::WorkerPool makers{1}; ///< last member: ends first
};

LoopbackHttpServer::Private::~Private()
{
    notifier.reset();
    {
        const std::lock_guard<std::mutex> guard(mutex);
        asked.clear();
    }
    if (thread.joinable()) {
        server->stop();
        thread.join();
    }
    if (wake >= 0)
        ::close(wake);
}

void LoopbackHttpServer::Private::enqueue(Http::Request request, Http::Reply reply)
{
    if (!Http::comesFromThisMachine(request)) {
        Http::Response refusal =
            Http::plainResponse(403, "Only this machine is answered, under its own name (127.0.0.1 or localhost).\n");
        refusal.closeConnection = true;
        return reply.send(std::move(refusal));
    }
    {
        const std::lock_guard<std::mutex> guard(mutex);
        asked.push_back({std::move(request), std::move(reply)});
    }
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake, &one, sizeof one);
}

std::optional<LoopbackHttpServer::Private::Asked> LoopbackHttpServer::Private::next()
{
    std::uint64_t one = 0;
    if (::read(wake, &one, sizeof one) != sizeof one)
        return std::nullopt;
    const std::lock_guard<std::mutex> guard(mutex);
    if (asked.empty())
        return std::nullopt;
    std::optional<Asked> first(std::move(asked.front()));
    asked.pop_front();
    return first;
}

void LoopbackHttpServer::Private::answerNext()
{
    auto request = next();
    if (!request)
        return;
    // The handler may let events through, which must not bring the next request.
    notifier->setEnabled(false);
    const QByteArray what = "Answering " + request->request.method + ' ' + request->request.target.split('?').first();
    const Response response = made([&] { return handler(requestFor(request->request)); }, what);
    notifier->setEnabled(true);
    if (!response.later)
        return request->reply.send(sendable(response));
    makers.add([make = response.later, reply = std::make_shared<Http::Reply>(std::move(request->reply))] {
        reply->send(sendable(made(make, "Making an answer")));
    });
}

LoopbackHttpServer::LoopbackHttpServer(Handler handler) : d(std::make_unique<Private>(std::move(handler))) {}

LoopbackHttpServer::~LoopbackHttpServer() = default;

bool LoopbackHttpServer::listen(int port, QString& error)
{
    d->wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE);
    if (d->wake < 0) {
        error = QStringLiteral("the system has no descriptor left");
        return false;
    }
    d->notifier = std::make_unique<QSocketNotifier>(d->wake, QSocketNotifier::Read);
    QObject::connect(d->notifier.get(), &QSocketNotifier::activated, d->notifier.get(), [this] { d->answerNext(); });

    Http::Address address;
    address.host = QStringLiteral("127.0.0.1");
    address.port = quint16(port);
    d->server = std::make_unique<Http::Server>();
    const auto listening = d->server->listen(address, limits(), [this](Http::Request request, Http::Reply reply) {
        d->enqueue(std::move(request), std::move(reply));
    });
    if (!listening) {
        error = listening.error();
        return false;
    }
    d->port = listening->address.port;
    d->thread = std::thread([server = d->server.get()] { server->run(); });
    return true;
}

int LoopbackHttpServer::port() const
{
    return d->port;
}
}
