#pragma once

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QJsonObject>
#include <QObject>

#include <folly/futures/Future.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace Host
{
class ContentStream;
struct ContentNote;

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

    void proceed(long id, const std::optional<ContentNote>& note);
    [[nodiscard]] folly::Future<QJsonObject> requestWith(QJsonObject command, const ContentNote& note);

    std::shared_ptr<Tavola::JSONServerServiceAPI> m_server;
    PathOf m_pathOf;
    std::map<long, Waiting> m_waiting; ///< for the hash of their file
    long m_lastId = 0;
    QObject m_mainThread;
    std::shared_ptr<ContentStream> m_stream; ///< last member: its threads end first
};
}
