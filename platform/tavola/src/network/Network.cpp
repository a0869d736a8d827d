#include <Tavola/Network.hpp>

#include "network/AnswerCheck.hpp"
#include "network/DeliveredReply.hpp"

#include <Bedrock/Inbox.hpp>
#include <Tavola/HttpClient.hpp>

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QPointer>

#include <memory>
#include <utility>

namespace Tavola
{
namespace
{
constexpr char kNetworkJob = 'n';

NetworkLimits& limits()
{
    static NetworkLimits current;
    return current;
}

/// Of a file, say.
bool hasOtherScheme(const QUrl& url)
{
    const QString scheme = url.scheme();
    return !scheme.isEmpty() && scheme != QLatin1String("http") && scheme != QLatin1String("https");
}

QByteArray methodOf(QNetworkAccessManager::Operation operation, const QNetworkRequest& request)
{
    switch (operation) {
    case QNetworkAccessManager::HeadOperation: return "HEAD";
    case QNetworkAccessManager::PostOperation: return "POST";
    case QNetworkAccessManager::PutOperation: return "PUT";
    case QNetworkAccessManager::DeleteOperation: return "DELETE";
    case QNetworkAccessManager::CustomOperation: return request.attribute(QNetworkRequest::CustomVerbAttribute).toByteArray();
    default: return "GET";
    }
}

/// Each request is a job of the inbox.
class NetworkManager final : public QNetworkAccessManager
{
public:
    NetworkManager(QObject* parent, NetworkContent content) : QNetworkAccessManager(parent), m_content(content) {}

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* outgoing) override
    {
        const QPointer<DeliveredReply> reply(new DeliveredReply(operation, request, this));
        Bedrock::Inbox::instance().ask(
            kNetworkJob,
            [&](Bedrock::BytesReply answer) {
                const QUrl url = request.url();
                if (url.scheme().isEmpty()) {
                    NetworkAnswer unknown;
                    unknown.error = QNetworkReply::ProtocolUnknownError;
                    unknown.errorText = QStringLiteral("Protocol \"\" is unknown");
                    unknown.url = url;
                    return std::move(answer).answer(unknown.toBytes());
                }
                if (hasOtherScheme(url))
                    return std::move(answer).answer(refusedAnswer(url, QNetworkReply::ProtocolUnknownError,
                                                                  QStringLiteral("the address is neither http nor https"))
                                                        .toBytes());
                reply->setExchange(send(operation, request, outgoing, std::move(answer)));
            },
            [reply](const QByteArray& answer) {
                if (reply)
                    reply->finish(answer);
            });
        return reply;
    }

private:
    HttpClient::Exchange send(Operation operation, const QNetworkRequest& request, QIODevice* outgoing, Bedrock::BytesReply reply)
    {
        HttpRequest http;
        http.method = methodOf(operation, request);
        http.url = request.url();
        const QList<QByteArray> names = request.rawHeaderList();
        for (const QByteArray& name : names)
            http.headers.append({name, request.rawHeader(name)});
        if (outgoing)
            http.body = outgoing->readAll();
        http.largestBodyBytes = limits().largestAnswerBytes;
        http.timeoutSeconds = limits().timeoutSeconds;
        return m_client.send(std::move(http),
                             // Behind a pointer, because functions can be copied.
                             [url = request.url(), content = m_content, limits = limits(),
                              reply = std::make_shared<Bedrock::BytesReply>(std::move(reply))](const HttpAnswer& answer) {
                                 std::move(*reply).answer(checkedAnswer(url, answer, limits, content).toBytes());
                             });
    }

    NetworkContent m_content;
    HttpClient m_client;
};
}

void setNetworkLimits(const NetworkLimits& newLimits)
{
    limits() = newLimits;
}

const NetworkLimits& networkLimits()
{
    return limits();
}

QNetworkAccessManager* makeNetworkManager(QObject* parent, NetworkContent content)
{
    return new NetworkManager(parent, content);
}
}
