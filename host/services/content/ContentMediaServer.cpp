#include "services/content/ContentMediaServer.hpp"

#include "services/content/ContentStream.hpp"

#include <QPointer>

#include <cstdint>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Host
{
ContentMediaServer::ContentMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server,
                                       std::unique_ptr<ContentStream> stream, PathOf pathOf)
    : m_server(std::move(server)), m_pathOf(std::move(pathOf)), m_stream(std::move(stream))
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] { proceedAll(); });
}

ContentMediaServer::~ContentMediaServer()
{
    for (auto& [id, waiting] : m_waiting)
        waiting.promise.setException(std::runtime_error("The media server was not asked: the table closes"));
}

folly::Future<QJsonObject> ContentMediaServer::request(const QJsonObject& command)
{
    const QString name = command.value(QLatin1String("filename")).toString();
    const bool isFile = command.value(QLatin1String("command")).toString() == QLatin1String("additem") && !name.isEmpty();
    const QString path = isFile ? m_pathOf(name) : QString();
    if (path.isEmpty())
        return m_server->request(command);
    const long id = ++m_lastId;
    auto future = m_waiting[id].promise.getFuture();
    m_waiting[id].command = command;
    // The stream ends before m_described does, so the thread that calls back finds it alive.
    m_stream->describe(path, [this, id](const std::optional<ContentNote>& note) { m_described.add(id, note); });
    return future;
}

ContentMediaServer::Described::Described() : wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ContentMediaServer::Described::~Described()
{
    ::close(wake);
}

void ContentMediaServer::Described::add(long id, const std::optional<ContentNote>& note)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_notes.emplace_back(id, note);
    }
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake, &one, sizeof one);
}

std::vector<std::pair<long, std::optional<ContentNote>>> ContentMediaServer::Described::takeAll()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t read = ::read(wake, &count, sizeof count);
    const std::lock_guard<std::mutex> guard(m_mutex);
    return std::exchange(m_notes, {});
}

void ContentMediaServer::proceedAll()
{
    // A future's continuation may destroy this object.
    const QPointer<QSocketNotifier> alive(&m_notifier);
    for (const auto& [id, note] : m_described.takeAll())
        if (alive)
            proceed(id, note);
}

void ContentMediaServer::proceed(long id, const std::optional<ContentNote>& note)
{
    auto node = m_waiting.extract(id);
    Waiting& waiting = node.mapped();
    const auto promise = std::make_shared<folly::Promise<QJsonObject>>(std::move(waiting.promise));
    (void)folly::makeFutureWith([&] {
        return note ? requestWith(waiting.command, *note) : m_server->request(waiting.command);
    }).thenTry([promise](folly::Try<QJsonObject>&& answer) { promise->setTry(std::move(answer)); });
}

folly::Future<QJsonObject> ContentMediaServer::requestWith(QJsonObject command, const ContentNote& note)
{
    command.insert(QStringLiteral("sha256"), QString::fromLatin1(note.sha256));
    command.insert(QStringLiteral("size"), note.size);
    return m_server->request(command).thenTry([note,
                                               weak = std::weak_ptr<ContentStream>(m_stream)](folly::Try<QJsonObject>&& answer) {
        const auto stream = weak.lock();
        // Without an answer the command may have been carried out: the stream keeps the note, and asks when the server
        // answers again.
        const bool hasAnswer = stream && answer.hasValue();
        const bool isComing = hasAnswer && answer.value().value(QLatin1String("content")).toString() == QLatin1String("coming");
        if (isComing)
            stream->send(note);
        else if (hasAnswer)
            stream->forget(note);
        return std::move(answer).value();
    });
}
}
