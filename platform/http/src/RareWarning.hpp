#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Http
{
/// A warning about something that may happen thousands of times in a row: written at most once a minute. One thread.
class RareWarning
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes kPause{1};

    /// Logs "HttpServer # `what` (`detail`)".
    void log(const std::string& what, const std::string& detail, Clock::time_point now = Clock::now());

private:
    std::optional<Clock::time_point> m_loggedAt;
};
}
