#include "RareWarnings.hpp"

#include "Log.hpp"

namespace MediaServer
{

void RareWarnings::log(const QString& what, const QString& detail, Clock::time_point now)
{
    const auto found = m_last.find(what);
    if (found == m_last.end()) {
        m_last.insert(what, {now, 0});
        return logWarning(what, detail);
    }
    if (now - found->loggedAt < kPause) {
        ++found->leftOut;
        return;
    }
    const int leftOut = found->leftOut;
    *found = {now, 0};
    logWarning(what, leftOut == 0 ? detail : QStringLiteral("%1; %2 more times since the last line").arg(detail).arg(leftOut));
}

} // namespace MediaServer
