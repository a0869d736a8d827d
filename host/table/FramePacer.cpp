#include "table/FramePacer.hpp"

#include <algorithm>

namespace Host
{
void FramePacer::tick(double seconds)
{
    const double dt = std::clamp(seconds, 0.0, kLongestStepSeconds);
    if (m_mode == Mode::Live) {
        m_frame(dt);
        return;
    }
    if (m_isOver)
        return;
    for (m_ahead -= dt; m_ahead <= 0.0;) {
        const std::optional<double> step = m_frame(dt);
        m_isOver = !step;
        if (m_isOver || *step <= 0.0)
            break;
        m_ahead += *step;
    }
}
}
