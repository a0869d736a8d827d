#include <Tavola/Network.hpp>

#include "network/AnswerCheck.hpp"
#include "network/DeliveredReply.hpp"

#include <Bedrock/Inbox.hpp>
#include <Tavola/HttpClient.hpp>
#include <Tavola/Tavola.hpp>

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QPointer>
#include <QTimer>

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
    /// Hands the manager to its user.
    QNetworkAccessManager* give(QObject* parent, NetworkContent content)
    {
        m_content = content;
        setParent(parent);
        return this;
    }

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

    NetworkContent m_content = NetworkContent::Anything;
    HttpClient m_client;
};

/// The next manager, made while Qt's events are served after the one before was taken: Qt takes a tenth of the time in which a
/// space opens for it.
class SpareManager
{
public:
    std::unique_ptr<NetworkManager> take()
    {
        QTimer::singleShot(0, &m_context, [this] {
            if (!m_spare)
                m_spare = std::make_unique<NetworkManager>();
        });
        return m_spare ? std::move(m_spare) : std::make_unique<NetworkManager>();
    }

private:
    QObject m_context; ///< ends the timers
    std::unique_ptr<NetworkManager> m_spare;
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
    const auto application = Tavola::instance();
    auto manager = application ? application->part<SpareManager>().take() : std::make_unique<NetworkManager>();
    return manager.release()->give(parent, content);
}
}
