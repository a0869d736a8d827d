#include "VisitPace.hpp"

#include <cstdlib>
#include <istream>
#include <limits>
#include <ostream>
#include <string>
#include <thread>

namespace Visit
{
Pace::Pace(Mode mode, std::istream& asked, std::ostream& answers)
    : m_mode(mode), m_asked(asked), m_answers(answers), m_start(std::chrono::steady_clock::now())
{
}

void Pace::waitFor(double seconds, std::uint64_t datagramsSent)
{
    if (m_mode == Mode::Clock) {
        std::this_thread::sleep_until(
            m_start + std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(seconds)));
        return;
    }
    std::string line;
    while (seconds > m_allowedSeconds) {
        if (m_hasAsked)
            answer(datagramsSent);
        if (!std::getline(m_asked, line)) {
            m_allowedSeconds = std::numeric_limits<double>::infinity();
            m_hasAsked = false;
            return;
        }
        m_allowedSeconds = std::strtod(line.c_str(), nullptr);
        m_hasAsked = true;
    }
}

void Pace::finish(std::uint64_t datagramsSent)
{
    std::string line;
    while (m_mode == Mode::Steps && m_hasAsked) {
        answer(datagramsSent);
        m_hasAsked = bool(std::getline(m_asked, line));
    }
}

void Pace::answer(std::uint64_t datagramsSent)
{
    m_answers << datagramsSent << std::endl;
}
}
