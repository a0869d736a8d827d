#pragma once

#include "Outbox.hpp"

#include <QJsonObject>
#include <QString>

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace Host
{
/// The numbers of an outbox as the inspector shows them, kept here so that showing them does not block. Any thread.
class OutboxReport
{
public:
    /// Milliseconds since 1970; called on any thread.
    using Clock = std::function<qint64()>;
    struct Reading
    {
        bool isDue = false;                             ///< a message is to be attempted now
        std::optional<std::chrono::milliseconds> pause; ///< until the next reading; nothing while the outbox is empty
    };

    OutboxReport(const Outbox& outbox, Clock clock) : m_outbox(outbox), m_clock(std::move(clock)) {}

    /// Reads the numbers anew; where that fails they stay as they were. Blocks.
    Reading read();
    void noteError(const QString& words);
    /// {"name", "queued", "sending", "failed", "bytes", "mostMessages", "mostBytes", "oldest" (ISO time or null), "lastError",
    /// "lastErrorAt"}. Does not block.
    [[nodiscard]] QJsonObject json(const QString& name, const Outbox::Limits& limits) const;

private:
    const Outbox& m_outbox;
    const Clock m_clock;
    std::mutex m_readMutex;     ///< one reading at a time, so that an older one never replaces a newer one
    mutable std::mutex m_mutex; ///< guards what follows
    OutboxSummary m_summary;
    QString m_lastError;
    qint64 m_lastErrorMs = 0;
};
}
