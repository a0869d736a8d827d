#include <Tavola/Network.hpp>

#include "network/DeliveredReply.hpp"
#include "network/TransportGuard.hpp"

#include <Bedrock/Inbox.hpp>

#include <QNetworkAccessManager>
#include <QPointer>

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

/// Of a file, say. An address without any scheme is an error of Qt's own.
bool hasOtherScheme(const QUrl& url)
{
    const QString scheme = url.scheme();
    return !scheme.isEmpty() && scheme != QLatin1String("http") && scheme != QLatin1String("https");
}

/// Each request is a job of the inbox.
class NetworkManager final : public QNetworkAccessManager
{
public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* outgoing) override
    {
        const QPointer<DeliveredReply> reply(new DeliveredReply(operation, request, this));
        Bedrock::Inbox::instance().ask(
            kNetworkJob,
            [&](Bedrock::BytesReply answer) {
                if (hasOtherScheme(request.url()))
                    return std::move(answer).answer(refusedAnswer(request.url(), QNetworkReply::ProtocolUnknownError,
                                                                  QStringLiteral("the address is neither http nor https"))
                                                        .toBytes());
                reply->carry(QNetworkAccessManager::createRequest(operation, request, outgoing), std::move(answer));
            },
            [reply](const QByteArray& answer) {
                if (reply)
                    reply->finish(answer);
            });
        return reply;
    }
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

QNetworkAccessManager* makeNetworkManager(QObject* parent)
{
    return new NetworkManager(parent);
}
}
