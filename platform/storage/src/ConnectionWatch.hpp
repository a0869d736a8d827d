#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Storage
{
class Connection;

/// Bounds the calls of a connection whose driver waits for ever when its server hangs: a thread that interrupts the connection
/// at a time. One store each.
class ConnectionWatch
{
public:
    using Clock = std::chrono::steady_clock;

    ConnectionWatch();
    ~ConnectionWatch();
    ConnectionWatch(const ConnectionWatch&) = delete;
    ConnectionWatch& operator=(const ConnectionWatch&) = delete;

    /// From then on every connection is interrupted. Any thread.
    void endAt(Clock::time_point time);

    /// While one lives the connection is interrupted at `until`; not any more once it is gone.
    class Guard
    {
    public:
        Guard(ConnectionWatch& watch, Connection& connection, Clock::time_point until);
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        ConnectionWatch& m_watch;
    };

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    Connection* m_connection = nullptr; ///< under the mutex, also while it is interrupted
    Clock::time_point m_until;
    Clock::time_point m_end = Clock::time_point::max();
    Clock::time_point m_wakesAt = Clock::time_point::max();
    bool m_isEnding = false;
    std::thread m_thread; ///< last member: begins when the others are there
};
}
