#include "services/InboxMediaServer.hpp"

#include "services/MediaServerAnswer.hpp"
#include "services/Outcome.hpp"
#include "services/ServiceStates.hpp"

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

InboxMediaServer::InboxMediaServer(std::shared_ptr<Tavola::JSONServerServiceAPI> server, std::shared_ptr<ServiceStates> states)
    : m_server(std::move(server)), m_states(std::move(states))
{
}

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
        [promise, states = m_states](const QByteArray& bytes) {
            if (states)
                states->set(ServiceState::MediaServerAway, !bytes.startsWith(Outcome::kValue));
            if (!bytes.startsWith(Outcome::kValue)) {
                Outcome::fail(*promise, bytes);
                return;
            }
            const QJsonObject answer = QJsonDocument::fromJson(bytes.mid(1)).object();
            MediaServerAnswer::rememberPages(answer); // a replayed one was read by no service
            promise->setValue(answer);
        });
    return promise->getFuture();
}
}
