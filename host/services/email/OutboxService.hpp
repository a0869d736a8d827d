#pragma once

#include "MailSettings.hpp"
#include "MessageIntake.hpp"
#include "OutboxDelivery.hpp"

#include <Bedrock/WorkerPool.hpp>
#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace Host
{
/// The e-mail service of a table. Composes a message into its outbox, tries it at once, and answers: delivered, or kept after a
/// passing failure, is success; a refusal for good is a failure with the server's words, and the message stays in the outbox as
/// failed. The answer comes within `answerSeconds` of the acceptance: an attempt that takes longer goes on, and the answer is
/// success. Further attempts follow after `retrySeconds`, twice that, and so on up to an hour, until `giveUpHours` have passed.
///
/// A message that does not fit into the outbox any more is refused, with a warning once a minute at most.
///
/// Two threads, on which futures are completed: one composes and adds new messages, the other one sends up to three at a time.
/// At the end of the service attempts stop within about a second, what was accepted is kept, and open futures say success once
/// their message is on the disk.
class OutboxService final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    using Clock = OutboxDelivery::Clock;

    /// Null, with the reason in `error`, when the outbox cannot be opened or another table uses it, or the credentials cannot
    /// be read or would be sent unencrypted.
    [[nodiscard]] static std::shared_ptr<OutboxService> open(const MailSettings& settings, const QString& folder, QString& error,
                                                             Clock clock = {});
    ~OutboxService() override;

    /// Returns the languages of a recipient, the best first. Called in `send`, on its thread.
    using LanguagesOf = std::function<QStringList(const QString& address)>;
    /// Sets the function for the sections of templates that are kept; without it those of the first language are.
    void setLanguagesOf(LanguagesOf languagesOf) { m_languagesOf = std::move(languagesOf); }

    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

    /// As OutboxDelivery's.
    [[nodiscard]] QJsonObject state() const { return m_delivery.state(); }
    /// Reads the queue now, because time has passed or another program changed it. Any thread.
    void wake() { m_delivery.wake(); }

private:
    OutboxService(const MailSettings& settings, const MailCredentials& credentials, std::unique_ptr<Outbox> outbox, Clock clock);

    const MailSettings m_settings;
    LanguagesOf m_languagesOf;
    const Clock m_clock;
    const std::unique_ptr<Outbox> m_outbox;
    const MessageIntake m_intake;
    OutboxDelivery m_delivery;
    std::atomic<bool> m_isComposingOver{false};
    std::thread m_sender;
    Bedrock::WorkerPool m_composer{1}; ///< the last member, so that its tasks find the others alive
};
}
