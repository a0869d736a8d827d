#include "ConnectionWatch.hpp"

#include "Connection.hpp"

#include <algorithm>

namespace Storage
{
ConnectionWatch::ConnectionWatch() : m_thread([this] { run(); }) {}

ConnectionWatch::~ConnectionWatch()
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void ConnectionWatch::endAt(Clock::time_point time)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_end = std::min(m_end, time);
        m_until = std::min(m_until, m_end);
    }
    m_changed.notify_one();
}

ConnectionWatch::Guard::Guard(ConnectionWatch& watch, Connection& connection, Clock::time_point until) : m_watch(watch)
{
    bool isEarlier = false;
    {
        const std::lock_guard<std::mutex> guard(watch.m_mutex);
        watch.m_connection = &connection;
        watch.m_until = std::min(until, watch.m_end);
        // The thread that waits for nothing, or for a later time, is woken.
        isEarlier = watch.m_wakesAt > watch.m_until;
    }
    if (isEarlier)
        watch.m_changed.notify_one();
}

ConnectionWatch::Guard::~Guard()
{
    const std::lock_guard<std::mutex> guard(m_watch.m_mutex);
    m_watch.m_connection = nullptr;
}

void ConnectionWatch::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isEnding) {
        const Clock::time_point now = Clock::now();
        if (m_connection && m_until <= now) {
            m_connection->interrupt();
            m_connection = nullptr;
        }
        // A guard's end does not wake this thread: it wakes once at the time, and mostly finds a later one.
        m_wakesAt = m_connection ? m_until : Clock::time_point::max();
        if (m_connection)
            m_changed.wait_until(lock, m_until);
        else
            m_changed.wait(lock);
    }
}
}
