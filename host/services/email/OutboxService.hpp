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
/// The e-mail service of a table. Accepts a message by writing it into its outbox, tries it at once, and answers: delivered,
/// or kept after a passing failure, is success; a refusal for good is a failure with the server's words, and the message stays
/// in the outbox as failed for somebody to look at. The answer comes within `answerSeconds` of the acceptance: an attempt that
/// takes longer goes on, and the answer is success, because the message is kept and tried until it is delivered, refused or
/// given up.
///
/// Threads: two write new messages into the outbox, so that a large one does not keep everybody waiting, and do nothing else;
/// three attempt what is in the outbox, of which two take new messages only, so that a long queue does not keep those waiting.
/// Further attempts follow after `retrySeconds`, twice that, and so on up to an hour, until `giveUpHours` have passed. One more
/// thread watches the queue, for what is due and for what other programs did to it, every two seconds while there is one, and
/// the answers. Futures are completed on these threads.
///
/// At its end what was accepted is kept, attempts under way stop (within about a second), and futures that are still owed say
/// success once their message is on the disk.
class OutboxService final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    /// Milliseconds since 1970; called on any thread.
    using Clock = std::function<qint64()>;

    /// Null, with the reason in `error`, when the outbox cannot be opened or another table uses it, or the credentials cannot
    /// be read or would go out unencrypted.
    [[nodiscard]] static std::shared_ptr<OutboxService> open(const MailSettings& settings, const QString& folder, QString& error,
                                                             Clock clock = {});
    ~OutboxService() override;

    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

    /// {"name", "queued", "sending", "failed", "oldest" (ISO time or null), "lastError", "lastErrorAt"}. Any thread; does not
    /// block.
    [[nodiscard]] QJsonObject state() const;
    /// Looks at the queue now, because time has passed or somebody changed it. Any thread.
    void wake();

private:
    OutboxService();
    struct Private;
    std::unique_ptr<Private> d;
};
}
