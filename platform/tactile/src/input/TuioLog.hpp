#pragma once

#include <Tactile/TuioCounters.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Tactile
{
class TuioDecoder;

/// The name of a source in a log line: "left at cam" for "left@cam", which would leave the program shortened like an e-mail
/// address, and two sources as the same text.
[[nodiscard]] std::string logNameOf(const std::string& source);

/// Logs what the decoder dropped, at a rate at which a broken sender cannot fill the log: the first malformed packet at
/// once, then one line every 10 s with the counts; each cap once; each sender that closes no frames once.
class TuioLog
{
public:
    /// Call once a frame. Costs a few comparisons while nothing new was dropped.
    void report(double nowSeconds, const TuioDecoder& decoder);

private:
    void reportPackets(double nowSeconds, const TuioDecoder& decoder);
    void reportUnclosed(const TuioCounters& counters);
    void reportCap(const TuioCounters& counters, TuioDrop cause, const char* what);

    TuioDrops m_warned{};
    bool m_hasReported = false;
    bool m_hasReportedUnknown = false;
    double m_lastReport = 0.0;
    std::uint64_t m_seenUnclosed = 0;
    std::vector<std::string> m_unclosedSources; // reported
    std::uint64_t m_reportedMalformed = 0;
    std::uint64_t m_reportedQueueFull = 0;
    std::array<std::uint64_t, kOscRefusalCount> m_reportedRefusals{};
};
}
