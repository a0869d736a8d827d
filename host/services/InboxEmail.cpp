#include "services/InboxEmail.hpp"

#include "services/Outcome.hpp"
#include "services/ServiceStates.hpp"

#include <Bedrock/Inbox.hpp>
#include <Bedrock/PersonalTexts.hpp>

#include <folly/futures/Future.h>

#include <utility>

namespace Host
{
namespace
{
using EmailStatus = Tavola::EmailServiceAPI::EmailStatus;

constexpr char kEmailJob = 'm';
constexpr char kDelayed = 'd'; ///< after the mark of a success

QByteArray toBytes(const folly::Try<EmailStatus>& outcome, const std::function<bool()>& isDelayed)
{
    if (outcome.hasException())
        return Outcome::failure(outcome);
    const EmailStatus& status = outcome.value();
    if (!status.success)
        return Outcome::kRefusal + status.error.toUtf8();
    QByteArray success(1, Outcome::kValue);
    return isDelayed && isDelayed() ? success.append(kDelayed) : success;
}
}

InboxEmail::InboxEmail(std::shared_ptr<Tavola::EmailServiceAPI> service) : m_service(std::move(service)) {}

InboxEmail::InboxEmail(const QString& textTemplate) : m_textTemplate(textTemplate) {}

void InboxEmail::showDelay(std::function<bool()> isDelayed, std::shared_ptr<ServiceStates> states)
{
    m_isDelayed = std::move(isDelayed);
    m_states = std::move(states);
}

folly::Future<EmailStatus> InboxEmail::send(const Tavola::EmailMessage& message)
{
    for (const auto& recipient : message.recipients()) {
        Bedrock::PersonalTexts::remember(recipient.address.address);
        Bedrock::PersonalTexts::remember(recipient.address.name);
    }
    const auto promise = std::make_shared<folly::Promise<EmailStatus>>();
    Bedrock::Inbox::instance().ask(
        kEmailJob,
        [&](Bedrock::BytesReply reply) {
            (void)folly::makeFutureWith([&] {
                return m_service->send(message);
            }).thenTry([reply = std::move(reply), isDelayed = m_isDelayed](folly::Try<EmailStatus>&& outcome) mutable {
                std::move(reply).answer(toBytes(outcome, isDelayed));
            });
        },
        [promise, states = m_states](const QByteArray& bytes) {
            if (states && bytes.startsWith(Outcome::kValue))
                states->set(ServiceState::MailDelayed, bytes.endsWith(kDelayed));
            if (bytes.startsWith(Outcome::kValue))
                promise->setValue(EmailStatus{true, QString()});
            else if (bytes.startsWith(Outcome::kRefusal))
                promise->setValue(EmailStatus{false, QString::fromUtf8(bytes.mid(1))});
            else
                Outcome::fail(*promise, bytes);
        });
    return promise->getFuture();
}

Tavola::EmailMessage InboxEmail::createMessage()
{
    if (m_service)
        return m_service->createMessage();
    Tavola::EmailMessage message;
    message.setContent(m_textTemplate);
    return message;
}
}
