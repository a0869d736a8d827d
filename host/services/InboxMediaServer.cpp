#include "services/InboxMediaServer.hpp"

#include "services/Outcome.hpp"

#include <Bedrock/Inbox.hpp>

#include <folly/futures/Future.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace Host
{
namespace
{
constexpr char kMediaServerJob = 'j';
}

InboxMediaServer::InboxMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server) : m_server(std::move(server)) {}

folly::Future<QJsonObject> InboxMediaServer::request(const QJsonObject& command)
{
    const auto promise = std::make_shared<folly::Promise<QJsonObject>>();
    Bedrock::Inbox::instance().ask(
        kMediaServerJob,
        [&](Bedrock::BytesReply reply) {
            (void)folly::makeFutureWith([&] {
                return m_server->request(command);
            }).thenTry([reply = std::move(reply)](folly::Try<QJsonObject>&& outcome) mutable {
                std::move(reply).answer(outcome.hasException()
                                            ? Outcome::failure(outcome)
                                            : Outcome::kValue + QJsonDocument(outcome.value()).toJson(QJsonDocument::Compact));
            });
        },
        [promise](const QByteArray& bytes) {
            if (bytes.startsWith(Outcome::kValue))
                promise->setValue(QJsonDocument::fromJson(bytes.mid(1)).object());
            else
                Outcome::fail(*promise, bytes);
        });
    return promise->getFuture();
}
}
