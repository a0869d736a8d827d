#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>

namespace Http
{
struct Door;

/// Ends the connections of a door whose time is over, a few times a second as long as there are any. One timer for all of them:
/// timers of their own, set two or three times for each request, take longer than to read the request. So a connection ends a
/// little later than its time, by period() at most.
///
/// On the server's thread; borrows the door.
class DeadlineTimer
{
public:
    DeadlineTimer(boost::asio::io_context& context, Door& door);

    /// Call when a connection has come. Does nothing while it runs.
    void start();
    /// For the end of the server, which a running timer delays.
    void stop();

    /// A sixteenth of `timeout`, but between 5 and 250 ms.
    [[nodiscard]] static std::chrono::milliseconds period(std::chrono::milliseconds timeout);

private:
    void wait();

    Door& m_door;
    boost::asio::steady_timer m_timer;
    bool m_isRunning = false;
};
}
