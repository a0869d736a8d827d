#pragma once

#include <Bedrock/Export.hpp>

#include <chrono>
#include <map>
#include <string>

namespace Bedrock
{
/// Warnings about what may happen thousands of times in a row, such as a full disk: each is written at most once a minute, then
/// with the number of those left out since. One thread.
class TAVOLA_EXPORT RareWarnings
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes kPause{1};

    /// `source`: what the lines begin with.
    explicit RareWarnings(std::string source);

    /// Logs "source # `what` (`detail`)", UTF-8. `what` tells one warning from another and is kept: one of a few fixed texts,
    /// never one that clients choose.
    void log(const std::string& what, const std::string& detail, Clock::time_point now = Clock::now());

private:
    struct Last
    {
        Clock::time_point loggedAt;
        int leftOut = 0;
    };
    std::string m_source;
    std::map<std::string, Last> m_last;
};
}
