#pragma once

#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;
class WidgetEngines;

/// Moves widgets: as fingers do, and on their own after a release.
class MotionController
{
public:
    explicit MotionController(WidgetEngines& engines) : m_engines(engines) {}
    MotionController(const MotionController&) = delete;
    MotionController& operator=(const MotionController&) = delete;

    /// What fingers did to a widget since the last step: a similarity of the parent's plane.
    struct Step
    {
        Vecta::Vector2f from; ///< middle of the fingers before, parent's coordinates
        Vecta::Vector2f to;   ///< and now
        float turn = 0.f;     ///< radians
        float factor = 1.f;
    };

    /// The similarity that fits best to points that were at `from` and are at `to`.
    [[nodiscard]] static Step fit(const Vecta::Vector2f* from, const Vecta::Vector2f* to, int count, bool turns, bool scales);
    /// A finger wins over what style sheets move: ends that, where it shows. A listener may remove the widget.
    static void takeOver(Widget& widget);
    /// Applies a step on the run-time layer, as far as the widget may be moved, turned and scaled. Each attribute changes
    /// once. A listener may remove the widget.
    void apply(Widget& widget, const Step& step);
    /// Releases a widget at a speed (pixels of the parent per second).
    void release(Widget& widget, Vecta::Vector2f velocity);
    /// One frame of sliding: friction slows it, and the widget's centre stays inside its parent.
    void slide(Widget& widget, float dtSeconds);
    void stop(Widget& widget);

private:
    WidgetEngines& m_engines;
};
}
