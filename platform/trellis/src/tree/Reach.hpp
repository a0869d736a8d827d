#pragma once

#include <Vecta/Rect.hpp>

namespace Trellis
{
class Widget;

/// What a widget and everything in it can draw on, kept until something in it moves. An upright rectangle, which may be
/// larger than what shows, and is never smaller. Computed between the changes of one frame and those of the next only, so that
/// what it was before a change is still there when the change is reported.
struct Reach
{
    Vecta::Rect inside;   ///< in the widget's own coordinates
    Vecta::Rect inParent; ///< the same, or larger, in its parent's
    // With either, what is inside of all ancestors is stale as well, unless the widget is hidden or clipped away.
    bool isStale = true; ///< both
    bool isMoved = true; ///< inParent
    /// Something in it, or the widget itself in its parent, is turned or scaled.
    bool isSmooth = false;
    bool isSmoothInside = false; ///< the same without the widget itself
};

/// Size or children of the widget, or what it draws, changed: its reach and its ancestors' are computed when next read. Goes up
/// to the first stale ancestor.
void markReachStale(Widget& widget);
/// The place of the widget in its parent, or its visibility, changed: as above, but what is in it is not visited.
void markReachMoved(Widget& widget);
/// By the layout as it stands. Computes what is stale. The reference is valid until the widget changes.
[[nodiscard]] const Reach& reachOf(const Widget& widget);
}
