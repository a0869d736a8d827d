#pragma once

#include "services/content/ContentNote.hpp"

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QJsonObject>
#include <QSocketNotifier>

#include <folly/futures/Future.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace Host
{
class ContentStream;

/// A media server that gets the content of what is collected, too. An "additem" with the name of a file of this table goes out
/// with the file's hash ("sha256") and "size"; a server that lacks the file answers at once all the same, and the stream sends it
/// afterwards. Everything else passes unchanged. Main thread only; futures are completed there.
class ContentMediaServer final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    /// The path of the file that was collected under a name; empty when there was none.
    using PathOf = std::function<QString(const QString& name)>;

    ContentMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server, std::unique_ptr<ContentStream> stream,
                       PathOf pathOf);
    /// Fails the commands whose file is still being read.
    ~ContentMediaServer() override;

    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    struct Waiting
    {
        QJsonObject command;
        folly::Promise<QJsonObject> promise;
    };

    /// What the stream's thread found, handed over to the main thread. A descriptor wakes the event loop: a queued call of Qt
    /// would do the same, but ThreadSanitizer cannot see how Qt orders it.
    struct Described
    {
        Described();
        ~Described();
        Described(const Described&) = delete;
        Described& operator=(const Described&) = delete;
        void add(long id, const std::optional<ContentNote>& note);
        std::vector<std::pair<long, std::optional<ContentNote>>> takeAll();

        const int wake;

    private:
        std::mutex m_mutex;
        std::vector<std::pair<long, std::optional<ContentNote>>> m_notes;
    };

    void proceedAll();
    void proceed(long id, const std::optional<ContentNote>& note);
    [[nodiscard]] folly::Future<QJsonObject> requestWith(QJsonObject command, const ContentNote& note);

    std::shared_ptr<Tavola::JSONServerServiceAPI> m_server;
    PathOf m_pathOf;
    std::map<long, Waiting> m_waiting; ///< for the hash of their file
    long m_lastId = 0;
    Described m_described;
    QSocketNotifier m_notifier{m_described.wake, QSocketNotifier::Read};
    std::shared_ptr<ContentStream> m_stream; ///< last member: its threads end first
};
}
