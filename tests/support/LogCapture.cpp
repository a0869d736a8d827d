#include "LogCapture.hpp"

#include "LogRecord.hpp"

#include <algorithm>
#include <mutex>

namespace TestSupport
{
namespace
{
using Bedrock::Trace::Level;

struct Announcement
{
    Level level;
    std::string text;
    bool isStartOnly;

    bool matches(const LogLine& line) const
    {
        return line.level == level && (isStartOnly ? line.text.compare(0, text.size(), text) == 0 : line.text == text);
    }
};

struct Log
{
    std::mutex mutex;
    std::vector<LogLine> lines;
    std::vector<LogLine> unannounced;
    std::vector<Announcement> awaited;
};

Log& log()
{
    // Never destroyed: threads may log until the process is gone.
    static auto& instance = *new Log;
    return instance;
}

void receive(Level level, const std::string& text)
{
    Log& l = log();
    const std::lock_guard<std::mutex> guard(l.mutex);
    l.lines.push_back({level, text});
    if (level == Level::Info)
        return;
    const auto found =
        std::find_if(l.awaited.begin(), l.awaited.end(), [&](const Announcement& a) { return a.matches(l.lines.back()); });
    if (found != l.awaited.end())
        l.awaited.erase(found);
    else
        l.unannounced.push_back(l.lines.back());
}

void announce(Level level, const std::string& text, bool isStartOnly)
{
    Log& l = log();
    const std::lock_guard<std::mutex> guard(l.mutex);
    l.awaited.push_back({level, text, isStartOnly});
}
}

void expectWarning(const std::string& text)
{
    announce(Level::Warning, text, false);
}

void expectError(const std::string& text)
{
    announce(Level::Error, text, false);
}

void expectWarningStartingWith(const std::string& start)
{
    announce(Level::Warning, start, true);
}

void expectErrorStartingWith(const std::string& start)
{
    announce(Level::Error, start, true);
}

std::vector<LogLine> loggedLines()
{
    Log& l = log();
    const std::lock_guard<std::mutex> guard(l.mutex);
    return l.lines;
}

void installLogCapture()
{
    Bedrock::Trace::setSink(receive);
}

void resetLog()
{
    Log& l = log();
    const std::lock_guard<std::mutex> guard(l.mutex);
    l.lines.clear();
    l.unannounced.clear();
    l.awaited.clear();
}

std::vector<std::string> logComplaints()
{
    Log& l = log();
    const std::lock_guard<std::mutex> guard(l.mutex);
    std::vector<std::string> complaints;
    for (const LogLine& line : l.unannounced)
        complaints.push_back(std::string("unannounced ") + Bedrock::Trace::levelName(line.level) + ": " + line.text);
    for (const Announcement& a : l.awaited)
        complaints.push_back(std::string("announced ") + Bedrock::Trace::levelName(a.level) + " did not come: " + a.text
                             + (a.isStartOnly ? "..." : ""));
    return complaints;
}
}
