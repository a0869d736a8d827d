#pragma once

#include <Bedrock/Trace.hpp>
#include <Tavola/DataGathering.hpp>

#include <QJsonArray>

#include <deque>
#include <memory>
#include <mutex>
#include <string>

namespace Host
{
/// Keeps the last lines of the log and the last analytics events of a running table, for the inspector. Replaces the trace sink
/// and the analytics sink during its lifetime; lines still go to standard error. Lines are added on any thread, everything else
/// happens on the main thread.
class TableLog
{
public:
    /// The number of lines, and of events, that are kept.
    static constexpr std::size_t kKept = 5000;
    /// Of all lines together: one may repeat what a server answered. The last line is kept, however long.
    static constexpr std::size_t kKeptBytes = std::size_t(16) << 20;

    TableLog();
    ~TableLog();
    TableLog(const TableLog&) = delete;
    TableLog& operator=(const TableLog&) = delete;

    /// [{"level", "text"}], oldest first.
    [[nodiscard]] QJsonArray lines() const;
    /// [{"type", "data"}], oldest first.
    [[nodiscard]] QJsonArray analytics() const;

private:
    struct Line
    {
        Bedrock::Trace::Level level;
        std::string text;
    };
    /// Shared with the sink, which may be running on another thread while this is destroyed.
    struct Lines
    {
        std::mutex mutex;
        std::deque<Line> lines;
        std::size_t bytes = 0; ///< of their texts
    };
    std::shared_ptr<Lines> m_lines;
    std::deque<QJsonObject> m_events;
    Bedrock::Trace::Sink m_traceSinkBefore;
    Tavola::DataGathering::Sink m_analyticsSinkBefore;
};
}
