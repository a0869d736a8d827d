#pragma once

#include "MailSettings.hpp"

#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>

namespace Host
{
/// The e-mail service of a table. Composes a message into its outbox, tries it at once, and answers: delivered, or kept after a
/// passing failure, is success; a refusal for good is a failure with the server's words, and the message stays in the outbox as
/// failed. The answer comes within `answerSeconds` of the acceptance: an attempt that takes longer goes on, and the answer is
/// success. Further attempts follow after `retrySeconds`, twice that, and so on up to an hour, until `giveUpHours` have passed.
///
/// A message that does not fit into the outbox any more is refused, with a warning once a minute at most.
///
/// Two threads: one composes new messages, the other one writes and reads the outbox and sends up to three messages at a time.
/// Futures are completed on the latter. At the end of the service attempts stop within about a second, what was accepted is
/// kept, and open futures say success once their message is on the disk.
class OutboxService final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    /// Milliseconds since 1970; called on any thread.
    using Clock = std::function<qint64()>;

    /// Null, with the reason in `error`, when the outbox cannot be opened or another table uses it, or the credentials cannot
    /// be read or would be sent unencrypted.
    [[nodiscard]] static std::shared_ptr<OutboxService> open(const MailSettings& settings, const QString& folder, QString& error,
                                                             Clock clock = {});
    ~OutboxService() override;

    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

    /// {"name", "queued", "sending", "failed", "bytes", "mostMessages", "mostBytes", "oldest" (ISO time or null), "lastError",
    /// "lastErrorAt"}. Any thread; does not block.
    [[nodiscard]] QJsonObject state() const;
    /// Reads the queue now, because time has passed or another program changed it. Any thread.
    void wake();

private:
    OutboxService();
    struct Private;
    std::unique_ptr<Private> d;
};
}
