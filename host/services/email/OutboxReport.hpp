#pragma once

#include <QJsonObject>
#include <QString>

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace Host
{
class Outbox;

/// What an inspector shows of an outbox, kept in step by whoever changes the queue, so that asking for it does not block.
/// Any thread.
class OutboxReport
{
public:
    /// Milliseconds since 1970; called on any thread.
    using Clock = std::function<qint64()>;
    /// What a look at the queue found.
    struct Look
    {
        bool isDue = false;                             ///< a message should be tried now, as far as one can see
        std::optional<std::chrono::milliseconds> pause; ///< until the next look; nothing while the outbox is empty
    };

    OutboxReport(const Outbox& outbox, Clock clock) : m_outbox(outbox), m_clock(std::move(clock)) {}

    /// Brings the numbers up to date. Blocks.
    Look look();
    void noteError(const QString& words);
    /// {"name", "queued", "sending", "failed", "oldest" (ISO time or null), "lastError", "lastErrorAt"}. Does not block.
    [[nodiscard]] QJsonObject json(const QString& name) const;

private:
    const Outbox& m_outbox;
    const Clock m_clock;
    std::mutex m_lookMutex;     ///< one look at a time, so that an older one never replaces a newer one
    mutable std::mutex m_mutex; ///< guards what follows
    int m_queued = 0;
    int m_sending = 0;
    int m_failed = 0;
    qint64 m_oldestMs = 0;
    QString m_lastError;
    qint64 m_lastErrorMs = 0;
};
}
