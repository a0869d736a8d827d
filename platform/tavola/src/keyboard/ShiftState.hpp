#pragma once

namespace Tavola
{
/// What the shift key of a keyboard does. Times are seconds of table time.
///
///     off ──press──► once ──pressed again at once──► locked ──press──► off
///      ▲              │ a letter, or pressed again later
///      └──────────────┘
///     held down while letters are typed, shift ends when the key is released.
class ShiftState
{
public:
    enum class Mode {
        Off,
        Once,  ///< for the next letter
        Locked ///< until the key is pressed again
    };
    /// Two presses within that time lock.
    static constexpr double kDoubleTapSeconds = 0.4;

    [[nodiscard]] Mode mode() const noexcept { return m_mode; }
    [[nodiscard]] bool isOn() const noexcept { return m_mode != Mode::Off; }

    void press(double timeSeconds);
    /// Returns whether the mode has changed.
    bool release();
    /// After a letter; `isKeyHeld`: a finger holds the shift key down.
    void letterTyped(bool isKeyHeld);
    void reset() { *this = ShiftState(); }

private:
    Mode m_mode = Mode::Off;
    double m_pressedAt = -1.0; ///< negative once a letter was typed
    bool m_typedWhileHeld = false;
};
}
