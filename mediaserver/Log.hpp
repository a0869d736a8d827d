#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace MediaServer
{

/// Log lines of the form "MediaServer # what (detail)", written through Qt's message handler (the program installs
/// writeToStandardError). Never pass a page's token: who reads the log must not be able to open people's pages. Any thread.
void logInfo(const QString& what, const QString& detail = {});

/// As logInfo, for what somebody has to act upon.
void logWarning(const QString& what, const QString& detail = {});

/// A warning about something that may happen thousands of times in a row: it is written at most once a minute. One thread.
class RareWarning
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes kPause{1};

    void log(const QString& what, const QString& detail = {}, Clock::time_point now = Clock::now());

private:
    std::optional<Clock::time_point> m_loggedAt;
};

/// "LEVEL TEXT" with a line end: what goes to standard error. A text from outside may hold line ends; they are written as
/// \n and \r, so that it stays one line. Any thread.
[[nodiscard]] QByteArray logLine(QtMsgType type, const QString& text);

/// A message handler for Qt that writes a logLine in one piece. Any thread.
void writeToStandardError(QtMsgType type, const QMessageLogContext& context, const QString& text);

} // namespace MediaServer
