#pragma once

#include <Bedrock/WorkerPool.hpp>

#include <functional>
#include <mutex>

namespace MediaServer
{

/// A thread for what waits for the database or the disk, so that the server's thread does not: a database that hangs delays the
/// requests that need it and no others. Tasks run one after the other, in the order of the calls. Any thread.
class WaitingThread
{
public:
    using Task = std::function<void()>;

    /// `mostWaiting`: of the tasks of add(), with the one that runs.
    explicit WaitingThread(int mostWaiting) : m_mostWaiting(mostWaiting) {}
    /// As close().
    ~WaitingThread() { close(); }
    WaitingThread(const WaitingThread&) = delete;
    WaitingThread& operator=(const WaitingThread&) = delete;

    /// A new request. False, without keeping the task, when too many wait or after close().
    [[nodiscard]] bool add(Task task);
    /// What continues a request. Dropped after close().
    void post(Task task);
    /// Waits for the task that runs and drops the others. Not from a task.
    void close();

private:
    const int m_mostWaiting;
    std::mutex m_mutex; ///< guards the next two
    int m_waiting = 0;
    bool m_isClosed = false;
    Bedrock::WorkerPool m_pool{1}; ///< last member: its thread ends first
};

}
