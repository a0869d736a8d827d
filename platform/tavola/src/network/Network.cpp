#include <Tavola/Network.hpp>

#include "network/DeliveredReply.hpp"

#include <Bedrock/Inbox.hpp>

#include <QNetworkAccessManager>
#include <QPointer>

#include <utility>

namespace Tavola
{
namespace
{
constexpr char kNetworkJob = 'n';

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

QNetworkAccessManager* makeNetworkManager(QObject* parent)
{
    return new NetworkManager(parent);
}
}
