#pragma once

#include "Outbox.hpp"
#include "SmtpSender.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Tavola/EmailServiceAPI.hpp>

#include <QJsonObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace Host
{
/// Delivers what an outbox holds, and completes the answers owed for it; what a continuation throws is logged. Its functions
/// belong to one thread, unless they say otherwise.
///
/// Up to three messages are sent at a time. An outcome that cannot be written (the disk is full) is kept here and written before
/// another message is claimed: a message that was delivered is not sent a second time while the program runs, and one that was
/// not is tried again.
class OutboxDelivery
{
public:
    /// Milliseconds since 1970; called on any thread.
    using Clock = std::function<qint64()>;
    using Status = Tavola::EmailServiceAPI::EmailStatus;
    using Promise = folly::Promise<Status>;

    /// For the holder of the outbox's lock. `settings` and `outbox` outlive it. Before any message is added: queues again what an
    /// earlier program was sending, and removes files of no message.
    OutboxDelivery(const MailSettings& settings, const MailCredentials& credentials, Outbox& outbox, const Clock& clock);

    /// Adds a message with a finished file to the outbox. The promise is completed with the outcome of its first attempt, with
    /// success `answerSeconds` from now if that takes longer, or with a failure when the outbox does not accept the message.
    /// One thread at a time.
    void accept(OutboxMessage message, Promise promise);
    /// Completes a promise with a failure, which is logged. Any thread.
    void refuse(Promise promise, const QString& reason);
    /// Waits for something to do and does it: attempts that go on or have ended, messages that are due, overdue answers.
    void turn();
    /// Ends the wait of `turn`, and has the outbox read anew. Any thread.
    void wake();
    /// Has `turn` break off the attempts; from here on messages are accepted, but not attempted. Any thread.
    void stop();
    /// After the last message was accepted: stops, queues what was being sent, and completes all answers with success, since
    /// their messages are on the disk. What still cannot be written is as after a crash.
    void finish();

    /// {"name", "queued", "sending", "failed", "bytes", "mostMessages", "mostBytes", "oldest" (ISO time or null), "lastError",
    /// "lastErrorAt"}, as of the last reading of the outbox. Any thread; does not block.
    [[nodiscard]] QJsonObject state() const;

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Answer
    {
        Promise promise;
        Time deadline;                ///< when it is success
        std::optional<Status> status; ///< the outcome of the attempt, once that has ended
    };

    [[nodiscard]] std::chrono::milliseconds longestWait() const;
    void readOutbox();
    void conclude(SmtpSender::Ended ended);
    bool writeEndings();
    [[nodiscard]] bool write(SmtpSender::Ended& ended);
    void noteError(const QString& words);
    void completeAnswers(Time now);
    static void complete(Promise& promise, const Status& status);

    const MailSettings& m_settings;
    Outbox& m_outbox;
    const Clock m_clock;
    SmtpSender m_sender;
    bool m_isRecovered = false;
    std::deque<SmtpSender::Ended> m_unwritten; ///< what became of attempts, with the messages' new states
    std::size_t m_warnedOf = 0;                ///< so many of those, from the first on, cannot be written, which is logged
    Time m_nextReading;
    Bedrock::RareWarnings m_warnings{"OutboxService"}; ///< used by `accept` alone
    std::atomic<bool> m_isWoken{false};
    std::atomic<bool> m_isStopped{false};

    mutable std::mutex m_answersMutex;  ///< held while a message is added: it gets its answer before its attempt can end
    std::map<qint64, Answer> m_answers; ///< by the message's number

    mutable std::mutex m_stateMutex; ///< guards what follows; never held for long
    OutboxSummary m_summary;
    QString m_lastError;
    qint64 m_lastErrorMs = 0;
};
}
