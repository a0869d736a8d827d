#include "input/TuioLog.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/TuioDecoder.hpp>

#include <algorithm>
#include <string>

namespace Tactile
{
namespace
{
constexpr double kSecondsBetweenLines = 10.0;
// A network that loses datagrams loses the end of single frames. So many ends in a row were never sent.
constexpr std::uint64_t kUnclosedToReport = 10;
// Senders choose their names: without a bound they could fill the log.
constexpr std::size_t kMostUnclosedSources = 64;

std::uint64_t countOf(const TuioCounters& counters, TuioDrop cause)
{
    return counters.drops[static_cast<std::size_t>(cause)];
}
}

std::string logNameOf(const std::string& source)
{
    std::string name;
    for (const char c : source) {
        if (c == '@')
            name += " at ";
        else
            name += c;
    }
    return name;
}

void TuioLog::report(double nowSeconds, const TuioDecoder& decoder)
{
    const TuioCounters& counters = decoder.counters();
    reportPackets(nowSeconds, decoder);
    reportCap(counters, TuioDrop::FingerCap, "more than 256 fingers at once; the newest are dropped");
    reportCap(counters, TuioDrop::MarkerCap, "more than 64 markers at once; the newest are dropped");
    reportCap(counters, TuioDrop::SourceCap, "more than 16 senders at once; the newest are dropped");
    reportUnclosed(counters);
    if (!m_hasReportedUnknown && !decoder.firstUnknownAddress().empty()) {
        m_hasReportedUnknown = true;
        Bedrock::Trace::info("TuioDecoder::decode # Skipped a message of another kind (%s); further ones are only counted",
                             decoder.firstUnknownAddress().c_str());
    }
}

void TuioLog::reportPackets(double nowSeconds, const TuioDecoder& decoder)
{
    const TuioCounters& counters = decoder.counters();
    const std::uint64_t malformed = countOf(counters, TuioDrop::Malformed);
    const std::uint64_t queueFull = countOf(counters, TuioDrop::QueueFull);
    if (malformed == m_reportedMalformed && queueFull == m_reportedQueueFull)
        return;
    if (!m_hasReported && malformed > 0) {
        const TuioDecoder::RefusedPacket& first = decoder.firstRefused();
        Bedrock::Trace::warning("TuioDecoder::decode # Dropped a datagram (from %s, %s); the table stays as it was",
                                first.sender.toString().c_str(), describe(first.cause));
        m_reportedMalformed = 1;
        m_reportedRefusals[static_cast<std::size_t>(first.cause)] = 1;
    } else {
        if (m_hasReported && nowSeconds - m_lastReport < kSecondsBetweenLines)
            return;
        std::string detail;
        for (std::size_t i = 0; i < kOscRefusalCount; ++i) {
            const std::uint64_t count = counters.refusals[i] - m_reportedRefusals[i];
            if (count > 0)
                detail += (detail.empty() ? "" : ", ") + std::to_string(count) + " with " + describe(static_cast<OscRefusal>(i));
        }
        if (queueFull > m_reportedQueueFull)
            detail +=
                (detail.empty() ? "" : ", ") + std::to_string(queueFull - m_reportedQueueFull) + " while no frame was drawn";
        const std::uint64_t dropped = malformed - m_reportedMalformed + queueFull - m_reportedQueueFull;
        Bedrock::Trace::warning("TuioDecoder::decode # Dropped %llu more datagrams (%s)",
                                static_cast<unsigned long long>(dropped), detail.c_str());
        m_reportedMalformed = malformed;
        m_reportedQueueFull = queueFull;
        m_reportedRefusals = counters.refusals;
    }
    m_hasReported = true;
    m_lastReport = nowSeconds;
}

void TuioLog::reportUnclosed(const TuioCounters& counters)
{
    if (m_seenUnclosed == countOf(counters, TuioDrop::Unclosed))
        return;
    m_seenUnclosed = countOf(counters, TuioDrop::Unclosed);
    for (const TuioSourceCounters& source : counters.sources) {
        std::string profiles;
        bool isCertain = false;
        for (std::size_t i = 0; i < source.unclosed.size(); ++i) {
            if (source.unclosed[i].inARow > 0)
                profiles += (profiles.empty() ? "" : ", ") + std::string(kTuioProfileNames[i]);
            isCertain = isCertain || source.unclosed[i].inARow >= kUnclosedToReport;
        }
        if (!isCertain || m_unclosedSources.size() >= kMostUnclosedSources
            || std::find(m_unclosedSources.begin(), m_unclosedSources.end(), source.name) != m_unclosedSources.end())
            continue;
        m_unclosedSources.push_back(source.name);
        Bedrock::Trace::warning("TuioDecoder::decode # The sender %s closes no frame of %s (an fseq, in TUIO 2.0 an alv, is "
                                "missing); its contacts there are dropped, set it to end each frame",
                                logNameOf(source.name).c_str(), profiles.c_str());
    }
}

void TuioLog::reportCap(const TuioCounters& counters, TuioDrop cause, const char* what)
{
    const auto index = static_cast<std::size_t>(cause);
    if (m_warned[index] > 0 || counters.drops[index] == 0)
        return;
    m_warned[index] = 1;
    std::string name = "the table";
    for (const TuioSourceCounters& source : counters.sources)
        if (source.drops[index] > 0)
            name = logNameOf(source.name);
    Bedrock::Trace::warning("TuioDecoder::decode # Reached a limit at %s (%s)", name.c_str(), what);
}
}
