#pragma once

#include <functional>
#include <optional>

namespace Host
{
/// Runs the frames that are due as time passes. Live, each tick is a frame of the time since the one before; in a replay, frames
/// have their recorded steps, and a tick runs as many as have become due.
class FramePacer
{
public:
    enum class Mode { Live, Replay };
    /// Runs a frame of so many seconds, in a replay with its own step. The step that was taken; nothing at the end of a
    /// recording; 0 when none could be taken now.
    using Frame = std::function<std::optional<double>(double)>;

    FramePacer(Mode mode, Frame frame) : m_mode(mode), m_frame(std::move(frame)) {}

    /// The longest step: after a pause of the process the table continues where it was instead of jumping ahead.
    static constexpr double kLongestStepSeconds = 0.25;

    /// `seconds` have passed since the last tick.
    void tick(double seconds);
    /// True after the last frame of a recording; no frame runs any more.
    [[nodiscard]] bool isOver() const noexcept { return m_isOver; }

private:
    Mode m_mode;
    Frame m_frame;
    double m_ahead = 0.0; ///< seconds by which the frames of a replay are ahead of the clock
    bool m_isOver = false;
};
}
