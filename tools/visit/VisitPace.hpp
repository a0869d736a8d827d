#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>

namespace Visit
{
/// Waits until the script may be played up to a time: until that time of the clock, or, in steps, until a line of `asked` allows
/// it. Each such line, a time in seconds, is answered on `answers` with the number of datagrams sent up to then.
class Pace
{
public:
    enum class Mode { Clock, Steps };
    Pace(Mode mode, std::istream& asked, std::ostream& answers);

    /// Blocks until the script may be played up to `seconds`. At the end of `asked` the rest may be played at once.
    void waitFor(double seconds, std::uint64_t datagramsSent);
    /// Answers the lines that are left, once the script is over. Blocks until the end of `asked`.
    void finish(std::uint64_t datagramsSent);

private:
    void answer(std::uint64_t datagramsSent);

    Mode m_mode;
    std::istream& m_asked;
    std::ostream& m_answers;
    std::chrono::steady_clock::time_point m_start;
    double m_allowedSeconds = -1.0;
    bool m_hasAsked = false;
};
}
