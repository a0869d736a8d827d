#pragma once

#include "ConnectPause.hpp"
#include "Connection.hpp"
#include "ConnectionWatch.hpp"
#include "JobQueue.hpp"

#include <future>
#include <memory>
#include <optional>
#include <thread>

namespace Storage
{
/// The thread of a store. It owns the connection; the group of jobs it has taken stays with it until each has its outcome:
///
///     queue ── takeGroup ──▶ m_group ── committed ──▶ done
///       ▲                     │    ▲
///       └─ one of several ────┘    └── lost: connect, ask how the commit ended, run again until the deadline
///          failed: each alone
class Store::Worker
{
public:
    using Clock = JobQueue::Clock;

    Worker(const Address& address, const Schema& schema, const Settings& settings);
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Begins the thread and waits for its first connection. Why the store cannot be opened; empty: it can.
    [[nodiscard]] QString start();
    /// Any thread.
    void add(Kind kind, Job job, Done done);
    /// Any thread. See Store::endWithin.
    void endAt(Clock::time_point time);

private:
    void run(std::promise<QString>& opened);
    /// False when there is nothing to do.
    [[nodiscard]] bool work();
    void wait();
    [[nodiscard]] QString connect();
    void disconnect();
    void check();
    void readChanges();
    void failOverdue();
    void failAll(const Failure& failure);

    void attempt();
    /// False with a fault; otherwise the jobs have their outcomes, or are back in the queue.
    [[nodiscard]] bool transact();
    /// Whether the group, whose commit was not acknowledged, was committed. False with a fault.
    [[nodiscard]] bool findEnding(bool& isCommitted);
    /// A job of the group has ended without a commit, and the transaction was rolled back.
    void undone(const Outcome& outcome);
    void finishGroup(const Outcome& outcome);

    const Address m_address;
    const Schema m_schema;
    const Settings m_settings;
    JobQueue m_queue;
    std::unique_ptr<ConnectionWatch> m_watch; ///< of PostgreSQL
    std::unique_ptr<Connection> m_connection; ///< null while there is none
    JobQueue::Group m_group;
    QString m_unknown; ///< number of the transaction in which the group may have been committed
    Failure m_lastFailure;
    Clock::time_point m_nextAttempt;
    ConnectPause m_pause;
    Clock::time_point m_nextCheck;
    bool m_wasLost = false;
    bool m_isAway = false;
    std::thread m_thread;
};
}
