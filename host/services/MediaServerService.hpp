#pragma once

#include <Tavola/JSONServerServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QNetworkAccessManager>
#include <QUrl>

/// The media server, reached by JSON over HTTP POST. Main thread only; futures are completed there.
/// An answer fails with a text for people: the server is away, is too slow, answered with an error status or with something
/// that is no JSON object. An answer with an error status whose body is a JSON object is an answer.
class MediaServerService final : public Tavola::ServiceInstance, public Tavola::JSONServerServiceAPI
{
public:
    MediaServerService(const QUrl& address, double timeoutSeconds);
    ~MediaServerService() override;

    folly::Future<QJsonObject> request(const QJsonObject& command) override;

private:
    QUrl m_address;
    int m_timeoutMs;
    QNetworkAccessManager m_network;
};
