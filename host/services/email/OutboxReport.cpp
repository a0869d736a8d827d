#include "OutboxReport.hpp"

#include "Outbox.hpp"

#include <QDateTime>

#include <algorithm>

namespace Host
{
namespace
{
/// How often a queue is looked at while there is one: other programs may change it, and a disk that was full may be so no longer.
constexpr qint64 kLookMs = 2000;

QJsonValue isoTime(qint64 ms)
{
    return ms > 0 ? QJsonValue(QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODate)) : QJsonValue();
}
}

OutboxReport::Look OutboxReport::look()
{
    using std::chrono::milliseconds;
    const std::lock_guard looking(m_lookMutex);
    const qint64 nowMs = m_clock();
    const auto summary = m_outbox.summary(nowMs);
    if (!summary)
        return {false, milliseconds(kLookMs)};
    {
        const std::lock_guard lock(m_mutex);
        m_queued = summary->queued;
        m_sending = summary->sending;
        m_failed = summary->failed;
        m_oldestMs = summary->oldestMs;
    }
    if (summary->queued + summary->sending + summary->failed == 0)
        return {false, std::nullopt};
    const bool isDue = summary->queued > 0 && summary->nextAttemptMs <= nowMs;
    if (isDue || summary->queued == 0)
        return {isDue, milliseconds(kLookMs)};
    return {false, milliseconds(std::min(summary->nextAttemptMs - nowMs, kLookMs))};
}

void OutboxReport::noteError(const QString& words)
{
    const qint64 nowMs = m_clock();
    const std::lock_guard lock(m_mutex);
    m_lastError = words;
    m_lastErrorMs = nowMs;
}

QJsonObject OutboxReport::json(const QString& name) const
{
    const std::lock_guard lock(m_mutex);
    return {{"name", name},
            {"queued", m_queued},
            {"sending", m_sending},
            {"failed", m_failed},
            {"oldest", isoTime(m_oldestMs)},
            {"lastError", m_lastError},
            {"lastErrorAt", isoTime(m_lastErrorMs)}};
}
}
