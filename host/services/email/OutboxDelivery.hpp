#pragma once

#include "Outbox.hpp"
#include "SmtpSender.hpp"

#include <Bedrock/RareWarnings.hpp>
#include <Tavola/EmailServiceAPI.hpp>

#include <QJsonObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace Host
{
/// Delivers what an outbox holds, and completes the answers owed for it. Its functions belong to one thread, unless they say
/// otherwise; promises are completed there, and what a continuation throws is logged.
///
/// Up to three messages are sent at a time, of which one at most was attempted before, so that old ones keep no new one waiting.
/// An outcome that cannot be written (the disk is full) is kept here and written before another message is claimed: a message
/// that was delivered is not sent a second time while the program runs, and one that was not is tried again.
class OutboxDelivery
{
public:
    /// Milliseconds since 1970; called on the thread of the delivery and on that which composes.
    using Clock = std::function<qint64()>;
    using Status = Tavola::EmailServiceAPI::EmailStatus;
    using Promise = folly::Promise<Status>;

    /// For the holder of the outbox's lock. `settings` and `outbox` outlive it. Before any message is added: queues again what an
    /// earlier program was sending, and removes files of no message.
    OutboxDelivery(const MailSettings& settings, const MailCredentials& credentials, Outbox& outbox, const Clock& clock);

    /// Adds a message with a finished file to the outbox. The promise is completed with the outcome of its first attempt, with
    /// success `answerSeconds` from now if that takes longer, or with a failure when the outbox does not accept the message.
    void accept(OutboxMessage message, Promise promise);
    /// Completes a promise with a failure, which is logged.
    void refuse(Promise promise, const QString& reason);
    /// Waits for something to do and does it: attempts that go on or have ended, messages that are due, overdue answers.
    void turn();
    /// Ends the wait of `turn`, and has the outbox read anew. Any thread.
    void wake();
    /// Breaks off the attempts; from here on messages are accepted, but not attempted.
    void stop();
    /// Completes all answers with success: their messages are on the disk. What still cannot be written is as after a crash.
    void finish();

    /// {"name", "queued", "sending", "failed", "bytes", "mostMessages", "mostBytes", "oldest" (ISO time or null), "lastError",
    /// "lastErrorAt"}, as of the last reading of the outbox. Any thread; does not block.
    [[nodiscard]] QJsonObject state() const;

private:
    using Time = std::chrono::steady_clock::time_point;
    /// What became of an attempt.
    struct Ending
    {
        enum class Kind { Delivered, PutOff, GivenUp, Refused };
        Kind kind = Kind::Delivered;
        OutboxMessage message;
        double pauseSeconds = 0.0;
        bool isLogged = false; ///< a warning says that it cannot be written
    };
    struct Answer
    {
        Promise promise;
        Time deadline;
    };

    [[nodiscard]] std::chrono::milliseconds longestWait() const;
    void readOutbox();
    void claim();
    void conclude(SmtpSender::Ended ended);
    bool writeEndings();
    [[nodiscard]] bool write(Ending& ending) const;
    void warnOfUnwritten();
    void log(const Ending& ending) const;
    void deleteFailed();
    void noteError(const QString& words);
    void completeOverdue();
    void complete(Promise& promise, const Status& status) const;

    const MailSettings& m_settings;
    Outbox& m_outbox;
    const Clock m_clock;
    SmtpSender m_sender;
    bool m_isStopped = false;
    bool m_isRecovered = false;
    int m_triedBefore = 0; ///< of the messages that are being sent, those that were attempted before
    std::vector<Ending> m_unwritten;
    std::map<qint64, Answer> m_answers;                 ///< by the message's number
    std::vector<std::pair<Promise, Status>> m_outcomes; ///< to be completed when the state is read
    Time m_nextReading;
    Bedrock::RareWarnings m_warnings{"OutboxService"};
    std::atomic<bool> m_isWoken{false};

    mutable std::mutex m_mutex; ///< guards what follows
    OutboxSummary m_summary;
    QString m_lastError;
    qint64 m_lastErrorMs = 0;
};
}
