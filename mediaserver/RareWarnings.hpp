#pragma once

#include <QHash>
#include <QString>

#include <chrono>

namespace MediaServer
{

/// Warnings about what may happen thousands of times in a row, such as a full disk: each is written at most once a minute, then
/// with the number of those left out since. One thread.
class RareWarnings
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::minutes kPause{1};

    /// As logWarning; `what` tells one warning from another.
    void log(const QString& what, const QString& detail, Clock::time_point now = Clock::now());

private:
    struct Last
    {
        Clock::time_point loggedAt;
        int leftOut = 0;
    };
    QHash<QString, Last> m_last;
};

} // namespace MediaServer
