#include "keyboard/ShiftState.hpp"

namespace Tavola
{
void ShiftState::press(double timeSeconds)
{
    const bool again = m_pressedAt >= 0.0 && timeSeconds - m_pressedAt < kDoubleTapSeconds;
    m_pressedAt = timeSeconds;
    m_typedWhileHeld = false;
    if (m_mode == Mode::Off)
        m_mode = Mode::Once;
    else
        m_mode = m_mode == Mode::Once && again ? Mode::Locked : Mode::Off;
}

bool ShiftState::release()
{
    if (!m_typedWhileHeld)
        return false;
    m_typedWhileHeld = false;
    m_mode = Mode::Off;
    return true;
}

void ShiftState::letterTyped(bool isKeyHeld)
{
    if (m_mode == Mode::Once && isKeyHeld)
        m_typedWhileHeld = true;
    else if (m_mode == Mode::Once)
        m_mode = Mode::Off;
    m_pressedAt = -1.0;
}
}
