#pragma once

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QNetworkAccessManager>
#include <QUrl>

namespace Host
{
/// The media server, reached by JSON over HTTP POST. Main thread only; futures are completed there.
/// A future fails with a text for people: the server is away, is too slow, sends too much, answers with an error status, with
/// a redirection (not followed: commands go to the address that was configured) or with something that is no JSON object.
/// A JSON object that comes with an error status is an answer like any other.
class MediaServerService final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    /// Answers are short; a longer one is refused.
    static constexpr qint64 kLargestAnswerBytes = 1 << 20;

    /// `timeoutSeconds` bounds a whole exchange, however many bytes trickle in meanwhile.
    MediaServerService(const QUrl& address, double timeoutSeconds);
    /// What is under way fails.
    ~MediaServerService() override;

    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    class Exchange;

    QUrl m_address;
    int m_timeoutMs;
    QNetworkAccessManager m_network;
};
}
