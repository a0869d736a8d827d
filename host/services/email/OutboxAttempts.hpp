#pragma once

#include "Outbox.hpp"
#include "OutboxReport.hpp"
#include "SmtpSender.hpp"

#include <QString>

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

namespace Host
{
class OutboxAnswers;

/// Sends what an outbox holds, one message a call, and writes the outcome. Any thread; several may attempt at once.
///
/// An outcome that cannot be written (the disk is full) is kept here and written before another message is claimed: a message
/// that was delivered is not sent a second time while the program runs, and one that was not is tried again.
class OutboxAttempts
{
public:
    using Clock = OutboxReport::Clock;
    using GoOn = SmtpSender::GoOn;
    enum class Turn {
        Made,
        NothingDue,
        Fault ///< the outbox cannot be read or written now
    };
    /// What the attempts work with; outlives them.
    struct Surroundings
    {
        Outbox& outbox;
        OutboxAnswers& answers;
        OutboxReport& report;
        Clock clock;
    };

    /// For the holder of the outbox's lock. `settings` outlive it.
    OutboxAttempts(const MailSettings& settings, const MailCredentials& credentials, Surroundings surroundings);

    /// Before the first message is added: queues again what an earlier program was sending.
    void begin();
    /// Claims the message that is due longest, tries it, writes the outcome and completes the answer. Blocks for as long as the
    /// attempt takes; ends within about a second once `goOn` says false.
    [[nodiscard]] Turn makeOne(Outbox::Which which, const GoOn& goOn);
    /// Writes the outcomes that could not be written yet. False when that still fails.
    bool writeOutcomes();
    [[nodiscard]] bool hasUnwritten() const { return m_hasUnwritten; }

private:
    struct Ending
    {
        enum class Kind { Delivered, PutOff, GivenUp, Refused };
        Kind kind = Kind::Delivered;
        OutboxMessage message;
        QString words;
        double pauseSeconds = 0.0;
    };
    /// Nothing when the attempt was stopped.
    [[nodiscard]] std::optional<Ending> attempt(OutboxMessage message, const GoOn& goOn) const;
    [[nodiscard]] Ending putOff(OutboxMessage message, const QString& words) const;
    [[nodiscard]] bool write(Ending& ending) const;
    void log(const Ending& ending) const;
    void conclude(Ending ending);

    const MailSettings& m_settings;
    const SmtpSender m_sender;
    const Surroundings m_surroundings;

    std::mutex m_mutex; ///< guards what follows
    bool m_isRecovered = false;
    std::vector<Ending> m_unwritten;
    std::atomic<bool> m_hasUnwritten{true}; ///< read without the mutex
};
}
