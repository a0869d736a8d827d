#pragma once

#include "../SqliteTransaction.hpp"
#include "OutboxMessage.hpp"

#include <QFile>
#include <QString>

#include <chrono>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace Host
{
/// An outbox in a few numbers.
struct OutboxSummary
{
    /// While there are messages the outbox is read this often: other programs may change it, and a full disk may have room again.
    static constexpr std::chrono::milliseconds kReadingPause{2'000};
    static constexpr std::chrono::hours kIdlePause{24};

    int queued = 0;
    int sending = 0;
    int failed = 0;
    qint64 oldestMs = 0;      ///< when the oldest message was accepted; 0 without one
    qint64 nextAttemptMs = 0; ///< of the queued message that is due first; 0 or in the past when one is due
    qint64 bytes = 0;         ///< of the finished messages, together
    [[nodiscard]] int count() const noexcept { return queued + sending + failed; }
    /// How long the outbox need not be read, once what is due was claimed as far as that is possible.
    [[nodiscard]] std::chrono::milliseconds pause(qint64 nowMs) const;
};

/// The messages that a table has accepted and not yet delivered, in a folder: a SQLite file, and a finished file for each.
///
///     accepted -> sending -> gone (delivered)
///                    |  ^
///                    v  |
///                  queued      sending, queued -> failed -> queued (retry), gone (drop)
///
/// Every operation is one transaction that is on the disk when it returns, so a killed program loses no message that was
/// accepted; one that was being sent is sent again, unchanged. Several programs may read and change an outbox; only the holder
/// of the lock sends. Any thread. A failure is logged as a warning, each reason once until something has been written again.
class Outbox
{
public:
    /// No attempt waits longer than this for the next one. A message that would was put off under a wrong clock: it is due.
    static constexpr qint64 kLongestPauseMs = 3'600'000;

    /// How much an outbox may hold, whatever the messages' state.
    struct Limits
    {
        int messages = 0;
        qint64 bytes = 0;
    };
    enum class Added {
        Yes,
        Full, ///< the message does not fit within the limits
        Fault ///< it could not be written
    };

    /// Opens or makes the folder; an outbox of version 1 is brought up to date. Null, with the reason in `error`, when that
    /// fails or the file in it is something else.
    [[nodiscard]] static std::unique_ptr<Outbox> open(const QString& folder, QString& error);

    /// Makes this the one that sends. The lock ends with the object or the process, however that ends.
    [[nodiscard]] bool lock();
    /// For the holder of the lock, while nothing is being sent: queues again what was. False when that could not be written.
    [[nodiscard]] bool recover();
    /// For the holder of the lock, while no message is composed: removes files that belong to no message. Files of names that
    /// `newFile` does not give are left alone.
    void removeOrphans() const;

    /// The name of a finished message that is to be written, never used before: "0b5c….eml".
    [[nodiscard]] static QString newFile();
    /// Where the finished message of this name is.
    [[nodiscard]] QString path(const QString& file) const { return m_folder + QStringLiteral("/files/") + file; }
    /// Removes a finished message. Nothing is removed through a symbolic link.
    void removeFile(const QString& file) const;

    /// Accepts a message with a finished file, in the state it has, and gives it its number.
    [[nodiscard]] Added add(OutboxMessage& message, const Limits& limits);
    /// What messages that were accepted lately carry of collections, but for those that have failed: it is to be removed from
    /// there, which the end of the program may have prevented. Empty also when it cannot be read.
    [[nodiscard]] std::vector<Tavola::EmailMessage::Collected> sentItems() const;
    /// Everything, oldest first. Nothing when it cannot all be read.
    [[nodiscard]] std::optional<std::vector<OutboxMessage>> messages() const;
    [[nodiscard]] std::optional<OutboxSummary> summary(qint64 nowMs) const;
    /// Claims the queued message that is due longest: it is being sent from here on. While a message that was attempted before is
    /// being sent, only those are due of which no attempt has failed, so that old ones keep no new one waiting. Nothing when none
    /// is due, or when the outbox cannot be read or written; it is as it was then.
    [[nodiscard]] std::optional<OutboxMessage> claimDue(qint64 nowMs);

    /// Ends of an attempt; false when they could not be written. A message that was dropped meanwhile stays dropped.
    [[nodiscard]] bool remove(const OutboxMessage& message) { return erase("id = ?", {message.id}).has_value(); }
    /// Writes the state, the attempts, the next one's time, since when it is queued, the last error and the recipients' outcomes.
    [[nodiscard]] bool update(const OutboxMessage& message);

    /// Deletes the messages that failed before a time, with their files. Returns their number; 0 when they could not be deleted.
    int removeFailed(qint64 beforeMs);

    /// For operators: sends a queued or failed message anew, at once. Recipients that were refused are tried again.
    /// False when there is none of that number, or it is being sent.
    [[nodiscard]] bool retry(qint64 id, qint64 nowMs);
    /// Deletes a message; one that is being sent only when no program holds the lock.
    [[nodiscard]] bool drop(qint64 id);

private:
    using Kind = SqliteTransaction::Kind;
    using Values = std::initializer_list<QVariant>;

    explicit Outbox(const QString& folder) : m_folder(folder), m_database(folder + QStringLiteral("/outbox.sqlite")) {}
    /// `what` is tried, for a warning: "write".
    [[nodiscard]] SqliteTransaction begin(Kind kind, const char* what) const;
    /// Commits; faults that were logged before are over and would be logged again.
    [[nodiscard]] bool commit(SqliteTransaction& transaction) const;
    static void noteCollected(SqliteTransaction& transaction, const OutboxMessage& message);
    /// The messages that meet a condition, complete. Nothing when any of it cannot be read.
    [[nodiscard]] static std::optional<std::vector<OutboxMessage>> select(SqliteTransaction& transaction,
                                                                          const QString& condition, Values values);
    /// Deletes the messages that meet a condition, then their files. Returns their number; nothing when they stay.
    std::optional<int> erase(const QString& condition, Values values);

    const QString m_folder;
    const QString m_database;
    QFile m_lock; ///< open: this one sends
    mutable std::mutex m_warningsMutex;
    mutable std::set<QString> m_warnings; ///< those that were logged already
};
}
