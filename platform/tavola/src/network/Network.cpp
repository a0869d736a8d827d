#include <Tavola/Network.hpp>

#include "network/DeliveredReply.hpp"
#include "network/TransportGuard.hpp"

#include <Bedrock/Inbox.hpp>

#include <QNetworkAccessManager>
#include <QNetworkRequest>
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
                reply->carry(send(operation, request, outgoing), std::move(answer));
            },
            [reply](const QByteArray& answer) {
                if (reply)
                    reply->finish(answer);
            });
        return reply;
    }

private:
    QNetworkReply* send(Operation operation, QNetworkRequest request, QIODevice* outgoing)
    {
        // Said explicitly, so that Qt decompresses nothing: a small answer could become very large.
        if (!request.hasRawHeader("Accept-Encoding"))
            request.setRawHeader("Accept-Encoding", "identity");
        if (operation != PostOperation || !outgoing || outgoing->isSequential())
            return QNetworkAccessManager::createRequest(operation, request, outgoing);
        QIODevice* body = makeUnrepeatableBody(outgoing->readAll());
        QNetworkReply* transport = QNetworkAccessManager::createRequest(operation, request, body);
        body->setParent(transport);
        return transport;
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
