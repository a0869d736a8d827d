#pragma once

#include "OutboxFiles.hpp"
#include "OutboxMessage.hpp"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

/// An outbox in a few numbers.
struct OutboxSummary
{
    int queued = 0;
    int sending = 0;
    int failed = 0;
    qint64 oldestMs = 0;      ///< when the oldest message was accepted; 0 without one
    qint64 nextAttemptMs = 0; ///< of the queued message that is due first
};

/// The messages that a table has accepted and not yet delivered, in a folder: a SQLite file and the attachments' copies.
///
///     accepted -> sending -> gone (delivered)
///                    |  ^
///                    v  |
///                  queued      sending, queued -> failed -> queued (retry), gone (drop)
///
/// Every operation is one transaction that is on the disk when it returns, so the program may be killed at any point: a message
/// is either not accepted, or kept until it is delivered; one that was being sent is sent again, with the same Message-ID.
/// Several programs may look and change; only the holder of the lock sends. Any thread. Failures are logged as warnings.
class Outbox
{
public:
    /// Opens or makes the folder. Null, with the reason in `error`, when that fails or the file in it is something else.
    [[nodiscard]] static std::unique_ptr<Outbox> open(const QString& folder, QString& error);
    ~Outbox();
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    /// Makes this the one that sends. The lock ends with the object or the process, however that ends.
    [[nodiscard]] bool lock();
    /// For the holder of the lock, before the first message: what was being sent is queued again, and copies that belong to no
    /// message are removed.
    void recover();

    [[nodiscard]] const OutboxFiles& files() const noexcept { return m_files; }

    /// Accepts a message, in the state it has; gives it its number. False when it could not be written.
    [[nodiscard]] bool add(OutboxMessage& message);
    /// Everything, oldest first.
    [[nodiscard]] std::vector<OutboxMessage> messages() const;
    [[nodiscard]] std::optional<OutboxMessage> message(qint64 id) const;
    [[nodiscard]] OutboxSummary summary() const;
    /// Takes the queued message that is due longest: it is being sent from here on.
    [[nodiscard]] std::optional<OutboxMessage> claimDue(qint64 nowMs);

    /// Ends of an attempt. A message that was dropped meanwhile stays dropped.
    bool remove(const OutboxMessage& message);
    /// Writes the state, the attempts, the next one's time, the last error and the recipients' outcomes.
    bool update(const OutboxMessage& message);

    /// For people at the queue: sends a queued or failed message anew, at once. Recipients that were refused are tried again.
    /// False when there is none of that number, or it is being sent.
    bool retry(qint64 id, qint64 nowMs);
    /// Forgets a message; one that is being sent only when nobody holds the lock.
    bool drop(qint64 id);

private:
    Outbox(const QString& folder);
    [[nodiscard]] bool prepare(QString& error) const;
    [[nodiscard]] std::vector<OutboxMessage> select(const QString& condition, qint64 id) const;
    void warnAbout(const char* what, const QString& detail) const;

    QString m_folder;
    QString m_path;
    OutboxFiles m_files;
    int m_lock = -1;
};
