#pragma once

#include <vector>

namespace Trellis
{
class FrameInfo;
class MotionController;
class Widget;

/// The widgets that a frame visits: those that update themselves, slide, or have operators, as long as they are in the
/// tree. In the order in which they became active. Widgets and operators may come and go while they are visited: those
/// that come wait for the next frame.
class FrameUpdater
{
public:
    explicit FrameUpdater(MotionController& motion) : m_motion(motion) {}
    FrameUpdater(const FrameUpdater&) = delete;
    FrameUpdater& operator=(const FrameUpdater&) = delete;

    /// Enters the widget into the list or takes it out, as its state says.
    void refresh(Widget& widget);
    void run(const FrameInfo& frame);
    [[nodiscard]] bool isIdle() const noexcept { return m_count == 0; }
    /// Visits so far, for tests of precision.
    [[nodiscard]] long visits() const noexcept { return m_visits; }

private:
    static void updateOperators(Widget& widget, const FrameInfo& frame);
    static void removeDoneOperators(Widget& widget);
    void compact();

    MotionController& m_motion;
    std::vector<Widget*> m_active; ///< null where one left while the list was visited
    int m_count = 0;
    long m_visits = 0;
};
}
