#include "OutboxAnswers.hpp"

#include <Bedrock/Guarded.hpp>

#include <utility>
#include <vector>

namespace Host
{
void OutboxAnswers::add(const QString& messageId, Promise promise)
{
    const std::lock_guard lock(m_mutex);
    m_pending.emplace(messageId, Pending{std::move(promise), std::nullopt});
}

void OutboxAnswers::setDeadline(const QString& messageId)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_pending.find(messageId);
    if (found != m_pending.end())
        found->second.deadline = std::chrono::steady_clock::now() + m_longestWait;
}

void OutboxAnswers::complete(const QString& messageId, const Status& status)
{
    std::unique_lock lock(m_mutex);
    auto pending = m_pending.extract(messageId);
    lock.unlock();
    if (!pending.empty())
        complete(pending.mapped().promise, status);
}

std::optional<OutboxAnswers::Time> OutboxAnswers::completeOverdue()
{
    const Time now = std::chrono::steady_clock::now();
    std::vector<Promise> overdue;
    std::optional<Time> next;
    {
        const std::lock_guard lock(m_mutex);
        for (auto it = m_pending.begin(); it != m_pending.end();) {
            const std::optional<Time>& deadline = it->second.deadline;
            if (deadline && *deadline <= now) {
                overdue.push_back(std::move(it->second.promise));
                it = m_pending.erase(it);
                continue;
            }
            if (deadline && (!next || *deadline < *next))
                next = deadline;
            ++it;
        }
    }
    for (Promise& promise : overdue)
        complete(promise, {true, QString()});
    return next;
}

void OutboxAnswers::completeAll()
{
    std::map<QString, Pending> all;
    {
        const std::lock_guard lock(m_mutex);
        all.swap(m_pending);
    }
    for (auto& [messageId, pending] : all)
        complete(pending.promise, {true, QString()});
}

void OutboxAnswers::complete(Promise& promise, const Status& status)
{
    Bedrock::guarded("OutboxService # Failed to hand over an outcome", [&] { promise.setValue(status); });
}
}
