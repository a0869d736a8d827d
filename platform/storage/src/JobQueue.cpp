#include "JobQueue.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Storage
{
void JobQueue::add(QueuedJob job)
{
    bool wasEmpty = false;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        wasEmpty = m_jobs.empty();
        job.deadline = std::min(job.deadline, m_end);
        m_jobs.push_back(std::move(job));
    }
    // The store's thread reads a queue that has jobs again before it waits.
    if (wasEmpty)
        m_wake.wake();
}

void JobQueue::putBack(Group jobs)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_jobs.insert(m_jobs.begin(), std::make_move_iterator(jobs.begin()), std::make_move_iterator(jobs.end()));
}

JobQueue::Group JobQueue::takeGroup()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    Group group;
    while (!m_jobs.empty() && group.size() < kMostInGroup) {
        QueuedJob& next = m_jobs.front();
        if (!group.empty() && (next.runsAlone || group.front().runsAlone || next.kind != group.front().kind))
            break;
        group.push_back(std::move(next));
        m_jobs.pop_front();
    }
    return group;
}

JobQueue::Group JobQueue::takeOverdue(Clock::time_point now)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto first =
        std::stable_partition(m_jobs.begin(), m_jobs.end(), [now](const QueuedJob& job) { return job.deadline > now; });
    Group overdue(std::make_move_iterator(first), std::make_move_iterator(m_jobs.end()));
    m_jobs.erase(first, m_jobs.end());
    return overdue;
}

JobQueue::Group JobQueue::takeAll()
{
    return takeOverdue(Clock::time_point::max());
}

std::optional<JobQueue::Clock::time_point> JobQueue::nextDeadline() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto first = std::min_element(m_jobs.begin(), m_jobs.end(),
                                        [](const QueuedJob& a, const QueuedJob& b) { return a.deadline < b.deadline; });
    return first == m_jobs.end() ? std::nullopt : std::optional(first->deadline);
}

void JobQueue::endAt(Clock::time_point time)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_end = std::min(m_end, time);
        for (QueuedJob& job : m_jobs)
            job.deadline = std::min(job.deadline, m_end);
    }
    m_wake.wake();
}

JobQueue::Clock::time_point JobQueue::end() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_end;
}

void JobQueue::stop()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isStopping = true;
    }
    m_wake.wake();
}

bool JobQueue::isStopping() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_isStopping;
}
}
