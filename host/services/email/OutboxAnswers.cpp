#include "OutboxAnswers.hpp"

#include <Bedrock/Trace.hpp>

#include <exception>
#include <utility>
#include <vector>

namespace Host
{
OutboxAnswers::OutboxAnswers(double patienceSeconds) : m_patience(qint64(patienceSeconds * 1000.0)) {}

void OutboxAnswers::owe(const QString& messageId, Promise promise)
{
    const std::lock_guard lock(m_mutex);
    m_debts.emplace(messageId, Debt{std::move(promise), std::nullopt});
}

void OutboxAnswers::beginPatience(const QString& messageId)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_debts.find(messageId);
    if (found != m_debts.end())
        found->second.latest = std::chrono::steady_clock::now() + m_patience;
}

void OutboxAnswers::settle(const QString& messageId, const Status& status)
{
    std::unique_lock lock(m_mutex);
    auto debt = m_debts.extract(messageId);
    lock.unlock();
    if (!debt.empty())
        complete(debt.mapped().promise, status);
}

std::optional<OutboxAnswers::Time> OutboxAnswers::settleOverdue()
{
    const Time now = std::chrono::steady_clock::now();
    std::vector<Promise> overdue;
    std::optional<Time> next;
    {
        const std::lock_guard lock(m_mutex);
        for (auto it = m_debts.begin(); it != m_debts.end();) {
            const std::optional<Time>& latest = it->second.latest;
            if (latest && *latest <= now) {
                overdue.push_back(std::move(it->second.promise));
                it = m_debts.erase(it);
                continue;
            }
            if (latest && (!next || *latest < *next))
                next = latest;
            ++it;
        }
    }
    for (Promise& promise : overdue)
        complete(promise, {true, QString()});
    return next;
}

void OutboxAnswers::settleAll()
{
    std::map<QString, Debt> debts;
    {
        const std::lock_guard lock(m_mutex);
        debts.swap(m_debts);
    }
    for (auto& [messageId, debt] : debts)
        complete(debt.promise, {true, QString()});
}

void OutboxAnswers::complete(Promise& promise, const Status& status)
{
    try {
        promise.setValue(status);
    } catch (const std::exception& failure) {
        Bedrock::Trace::error("OutboxService # Failed to hand over an outcome (%s)", failure.what());
    }
}
}
