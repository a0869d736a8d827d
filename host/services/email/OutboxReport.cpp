#include "OutboxReport.hpp"

#include <QDateTime>

#include <algorithm>

namespace Host
{
namespace
{
/// While there are messages the outbox is read this often: other programs may change it, and a full disk may have room again.
constexpr qint64 kReadMs = 2000;

QJsonValue isoTime(qint64 ms)
{
    return ms > 0 ? QJsonValue(QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODate)) : QJsonValue();
}
}

OutboxReport::Reading OutboxReport::read()
{
    using std::chrono::milliseconds;
    const std::lock_guard reading(m_readMutex);
    const qint64 nowMs = m_clock();
    const auto summary = m_outbox.summary(nowMs);
    if (!summary)
        return {false, milliseconds(kReadMs)};
    {
        const std::lock_guard lock(m_mutex);
        m_summary = *summary;
    }
    if (summary->count() == 0)
        return {false, std::nullopt};
    const bool isDue = summary->queued > 0 && summary->nextAttemptMs <= nowMs;
    if (isDue || summary->queued == 0)
        return {isDue, milliseconds(kReadMs)};
    return {false, milliseconds(std::min(summary->nextAttemptMs - nowMs, kReadMs))};
}

void OutboxReport::noteError(const QString& words)
{
    const qint64 nowMs = m_clock();
    const std::lock_guard lock(m_mutex);
    m_lastError = words;
    m_lastErrorMs = nowMs;
}

QJsonObject OutboxReport::json(const QString& name, const Outbox::Limits& limits) const
{
    const std::lock_guard lock(m_mutex);
    return {{"name", name},
            {"queued", m_summary.queued},
            {"sending", m_summary.sending},
            {"failed", m_summary.failed},
            {"bytes", m_summary.bytes},
            {"mostMessages", limits.messages},
            {"mostBytes", limits.bytes},
            {"oldest", isoTime(m_summary.oldestMs)},
            {"lastError", m_lastError},
            {"lastErrorAt", isoTime(m_lastErrorMs)}};
}
}
