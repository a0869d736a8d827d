#include "RareWarning.hpp"

#include <Bedrock/Trace.hpp>

namespace Http
{
void RareWarning::log(const std::string& what, const std::string& detail, Clock::time_point now)
{
    if (m_loggedAt && now - *m_loggedAt < kPause)
        return;
    m_loggedAt = now;
    Bedrock::Trace::warning("HttpServer # %s (%s)", what.c_str(), detail.c_str());
}
}
