#include "DeadlineTimer.hpp"

#include "Connection.hpp"
#include "Door.hpp"

#include <algorithm>

namespace Http
{
using namespace std::chrono_literals;

DeadlineTimer::DeadlineTimer(boost::asio::io_context& context, Door& door) : m_door(door), m_timer(context) {}

void DeadlineTimer::start()
{
    if (std::exchange(m_isRunning, true))
        return;
    wait();
}

void DeadlineTimer::stop()
{
    m_isRunning = false;
    m_timer.cancel();
}

std::chrono::milliseconds DeadlineTimer::period(std::chrono::milliseconds timeout)
{
    return std::clamp<std::chrono::milliseconds>(timeout / 16, 5ms, 250ms);
}

void DeadlineTimer::wait()
{
    m_timer.expires_after(period(m_door.limits.timeout));
    m_timer.async_wait([this](boost::system::error_code cancelled) {
        if (cancelled || !m_isRunning)
            return;
        const auto now = Connection::Clock::now();
        // Closing a socket ends its connection later, from the event loop, so that the list stays as it is.
        for (Connection* connection : m_door.connections)
            connection->endIfOverdue(now);
        m_isRunning = !m_door.connections.empty();
        if (m_isRunning)
            wait();
    });
}
}
