#pragma once

#include "Outbox.hpp"
#include "SmtpSender.hpp"

#include <QString>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace Host
{
class OutboxAnswers;
class OutboxReport;

/// Sends what an outbox holds, one message a call, and writes down what became of it. Any thread; several may attempt at once.
///
/// What became of a message and cannot be written (the disk is full) is kept here and written before anything else is taken: a
/// message that has arrived is not sent a second time while the program runs, and one that has not is tried again.
class OutboxAttempts
{
public:
    /// Milliseconds since 1970; called on any thread.
    using Clock = std::function<qint64()>;
    enum class Turn {
        Made,
        NothingDue,
        Fault ///< the outbox cannot be read or written now
    };
    /// What it works with; outlives it.
    struct Surroundings
    {
        Outbox& outbox;
        OutboxAnswers& answers;
        OutboxReport& report;
        Clock clock;
    };

    /// For the holder of the outbox's lock. `settings` outlive it.
    OutboxAttempts(const MailSettings& settings, const MailCredentials& credentials, Surroundings surroundings);

    /// Before the first message is added: takes up what an earlier program left.
    void begin();
    /// Takes the message that is due longest, tries it, writes the outcome and answers its sender. Blocks for as long as the
    /// attempt takes; ends within about a second once `stop`.
    [[nodiscard]] Turn makeOne(Outbox::Which which, const std::atomic<bool>& stop);
    /// Writes what could not be written yet. False when that still fails.
    bool catchUp();
    /// Whether there is something to catch up with.
    [[nodiscard]] bool isBehind() const { return m_isBehind; }

private:
    /// How an attempt ended, until that is written.
    struct Ending
    {
        enum class Kind { Delivered, PutOff, GivenUp, Refused };
        Kind kind = Kind::Delivered;
        OutboxMessage message;
        QString words;
        double pauseSeconds = 0.0;
    };
    /// Sends, and says how that ended; nothing when it was stopped.
    [[nodiscard]] std::optional<Ending> attempt(OutboxMessage message, const std::atomic<bool>& stop) const;
    [[nodiscard]] Ending putOff(OutboxMessage message, const QString& words) const;
    [[nodiscard]] bool write(Ending& ending) const;
    void conclude(Ending ending);
    void tell(const Ending& ending) const;
    void tellUnwritten(const Ending& ending) const;

    const MailSettings& m_settings;
    const SmtpSender m_sender;
    const Surroundings m_surroundings;

    std::mutex m_mutex; ///< guards what follows
    bool m_isRecovered = false;
    std::vector<Ending> m_unwritten;
    std::atomic<bool> m_isBehind{true}; ///< read without the mutex
};
}
