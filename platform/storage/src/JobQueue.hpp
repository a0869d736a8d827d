#pragma once

#include "Storage/Store.hpp"

#include "WakeDescriptor.hpp"

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace Storage
{
/// A job that waits.
struct QueuedJob
{
    using Clock = std::chrono::steady_clock;

    Store::Kind kind = Store::Kind::Read;
    Store::Job job;
    Store::Done done;
    Clock::time_point deadline;
    bool runsAlone = false; ///< a group with it has failed
};

/// The jobs of a store, in their order. Any thread; jobs are taken by one.
class JobQueue
{
public:
    using Clock = QueuedJob::Clock;
    using Group = std::vector<QueuedJob>;

    void add(QueuedJob job);
    /// Jobs that a failed group leaves, in front of all others.
    void putBack(Group jobs);
    /// The first jobs that may be one transaction; empty when there are none.
    [[nodiscard]] Group takeGroup();
    /// The jobs whose deadline is over.
    [[nodiscard]] Group takeOverdue(Clock::time_point now);
    [[nodiscard]] Group takeAll();
    [[nodiscard]] std::optional<Clock::time_point> nextDeadline() const;
    /// From now on no job's deadline is later.
    void endAt(Clock::time_point time);
    /// Clock::time_point::max() before endAt().
    [[nodiscard]] Clock::time_point end() const;
    void stop();
    [[nodiscard]] bool isStopping() const;

    /// Waits for a job or the stop; see WakeDescriptor.
    [[nodiscard]] bool wait(int other, int milliseconds) const { return m_wake.wait(other, milliseconds); }

private:
    static constexpr std::size_t kMostInGroup = 64;

    mutable std::mutex m_mutex;
    std::deque<QueuedJob> m_jobs;
    Clock::time_point m_end = Clock::time_point::max();
    bool m_isStopping = false;
    WakeDescriptor m_wake;
};
}
