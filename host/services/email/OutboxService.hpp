#pragma once

#include "MailSettings.hpp"
#include "Outbox.hpp"
#include "SmtpSender.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Bedrock/WorkerPool.hpp>
#include <Tavola/EmailServiceAPI.hpp>
#include <Tavola/ServiceInstance.hpp>

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace Host
{
/// The e-mail service of a table. Composes a message into its outbox, tries it at once, and answers: delivered, or kept after a
/// passing failure, is success; a refusal for good is a failure with the server's words, and the message stays in the outbox as
/// failed. The answer comes within `answerSeconds` of the acceptance: an attempt that takes longer goes on, and the answer is
/// success. Further attempts follow after `retrySeconds`, twice that, and so on up to an hour, until `giveUpHours` have passed.
/// An outcome that cannot be written (the disk is full) is kept and written before another message is claimed.
///
/// Two threads, on which futures are completed: one composes and adds new messages, the other one sends up to three at a time.
/// At the end of the service attempts stop within about a second, what was accepted is kept, and open futures say success once
/// their message is on the disk.
class OutboxService final : public Tavola::ServiceInstance, public Tavola::EmailServiceAPI
{
public:
    using Clock = std::function<qint64()>; ///< milliseconds since 1970; called on any thread
    using Promise = folly::Promise<EmailStatus>;
    using LanguagesOf = std::function<QStringList(const QString& address)>;

    /// Null, with the reason in `error`, when the outbox cannot be opened or another table uses it, or the credentials cannot
    /// be read or would be sent unencrypted.
    [[nodiscard]] static std::shared_ptr<OutboxService> open(const MailSettings& settings, const QString& folder, QString& error,
                                                             Clock clock = QDateTime::currentMSecsSinceEpoch);
    /// For the holder of the outbox's lock: queues again what an earlier program was sending, and removes files of no message.
    /// Sends only while `turn` is called.
    OutboxService(const MailSettings& settings, const MailCredentials& credentials, std::shared_ptr<Outbox> outbox, Clock clock);
    ~OutboxService() override;

    /// Sets the function that returns the languages of a recipient, the best first, for the sections of templates that are kept;
    /// without it those of the first language are. Called in `send`, on its thread.
    void setLanguagesOf(LanguagesOf languagesOf) { m_languagesOf = std::move(languagesOf); }

    folly::Future<EmailStatus> send(const Tavola::EmailMessage& message) override;
    Tavola::EmailMessage createMessage() override;

    /// See Outbox::sentItems.
    [[nodiscard]] std::vector<Tavola::EmailMessage::Collected> sentItems() const { return m_outbox->sentItems(); }
    /// {"name", "queued", "sending", "failed", "bytes", "mostMessages", "mostBytes", "oldest" (ISO time or null), "lastError",
    /// "lastErrorAt"}, as of the last reading of the outbox. Any thread; does not block.
    [[nodiscard]] QJsonObject state() const;
    /// Ends the wait of `turn`, and has the outbox read anew: time has passed, or another program changed it. Any thread.
    void wake();

    /// Adds a message with a finished file to the outbox. The promise is completed as described above, or with a failure when the
    /// outbox does not accept the message. One thread at a time.
    void accept(OutboxMessage message, Promise promise);
    /// Waits for something to do and does it: attempts that go on or have ended, messages that are due, overdue answers. One
    /// thread, as `finish`.
    void turn();
    /// Has `turn` break off the attempts; from here on messages are accepted, but not attempted. Any thread.
    void stop();
    /// After the last message was accepted: stops, queues what was being sent, and completes all answers with success, since
    /// their messages are on the disk. What still cannot be written is as after a crash.
    void finish();

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Answer
    {
        Promise promise;
        Time deadline;                     ///< when it is success
        std::optional<EmailStatus> status; ///< the outcome of the attempt, once that has ended
    };

    void refuse(Promise promise, const QString& reason);
    [[nodiscard]] std::chrono::milliseconds longestWait() const;
    void readOutbox();
    void conclude(SmtpSender::Ended ended);
    bool writeEndings();
    [[nodiscard]] bool write(SmtpSender::Ended& ended);
    void noteError(const QString& words);
    void completeAnswers(Time now);

    const MailSettings m_settings;
    LanguagesOf m_languagesOf;
    const Clock m_clock;
    const std::shared_ptr<Outbox> m_outbox;
    SmtpSender m_sender;
    bool m_isRecovered = false;
    std::deque<SmtpSender::Ended> m_unwritten; ///< what became of attempts, with the messages' new states
    Time m_nextReading;
    Bedrock::RareWarnings m_warnings{"OutboxService"}; ///< used by `accept` alone
    std::atomic<bool> m_isWoken{false};
    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> m_isComposingOver{false};

    mutable std::mutex m_answersMutex;  ///< held while a message is added: it gets its answer before its attempt can end
    std::map<qint64, Answer> m_answers; ///< by the message's number

    mutable std::mutex m_stateMutex; ///< guards what follows; never held for long
    OutboxSummary m_summary;
    QString m_lastError;
    qint64 m_lastErrorMs = 0;

    // The last members, so that their tasks find the others alive.
    Bedrock::WorkerPool m_sending{1};
    Bedrock::WorkerPool m_composer{1};
};
}
