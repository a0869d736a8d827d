#pragma once

#include <Tactile/TuioCounters.hpp>

#include <cstdint>
#include <vector>

namespace Tactile
{
class TuioDecoder;

/// Tells the log of what the decoder dropped, seldom enough that a broken sender cannot fill it: the first malformed packet
/// at once, then one line every 10 s with the counts; each cap once.
class TuioLog
{
public:
    /// Once a frame. Costs a few comparisons while there is nothing to say.
    void report(double nowSeconds, const TuioDecoder& decoder);

private:
    void reportPackets(double nowSeconds, const TuioDecoder& decoder);
    void reportCap(const TuioCounters& counters, TuioDrop cause, const char* what);

    TuioDrops m_warned{};
    bool m_hasReported = false;
    bool m_hasToldUnknown = false;
    double m_lastReport = 0.0;
    std::uint64_t m_reportedMalformed = 0;
    std::uint64_t m_reportedQueueFull = 0;
    std::array<std::uint64_t, kOscRefusalCount> m_reportedRefusals{};
};
}
