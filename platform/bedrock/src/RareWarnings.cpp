#include "Bedrock/RareWarnings.hpp"

#include <Bedrock/Trace.hpp>

namespace Bedrock
{
RareWarnings::RareWarnings(std::string source) : m_source(std::move(source)) {}

void RareWarnings::log(const std::string& what, const std::string& detail, Clock::time_point now)
{
    const auto [last, isFirst] = m_last.try_emplace(what, Last{now, 0});
    if (!isFirst && now - last->second.loggedAt < kPause) {
        ++last->second.leftOut;
        return;
    }
    std::string text = detail;
    if (last->second.leftOut != 0)
        text += "; " + std::to_string(last->second.leftOut) + " more times since the last line";
    last->second = {now, 0};
    Trace::warning("%s # %s (%s)", m_source.c_str(), what.c_str(), text.c_str());
}
}
