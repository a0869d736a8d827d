#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

namespace Storage
{
/// How long a store waits before it connects again: after each failure twice as long, up to a bound, so that many stores do not
/// keep a server busy that comes back. A value; one thread.
class ConnectPause
{
public:
    static constexpr std::chrono::milliseconds kFirst{250};
    static constexpr std::chrono::milliseconds kLongest{2000};

    /// The pause after a failure, which makes the next one longer.
    [[nodiscard]] std::chrono::milliseconds afterFailure() { return std::exchange(m_next, std::min(2 * m_next, kLongest)); }
    /// A connection has come about.
    void reset() { m_next = kFirst; }

private:
    std::chrono::milliseconds m_next = kFirst;
};
}
