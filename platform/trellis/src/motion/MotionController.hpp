#pragma once

#include <Trellis/Widget.hpp>

namespace Trellis
{
/// Moves widgets: as fingers say, and on their own after a release.
class MotionController
{
public:
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
    /// Applies a step on the run-time layer, as far as the widget may be moved, turned and scaled. Each attribute changes
    /// once. A listener may remove the widget.
    static void apply(Widget& widget, const Step& step);
    /// Lets go of a widget at a speed (pixels of the parent per second).
    static void release(Widget& widget, Vecta::Vector2f velocity);
    /// One frame of sliding: friction slows it, and the widget's centre stays inside its parent.
    static void slide(Widget& widget, float dtSeconds);
    static void stop(Widget& widget);
};
}
