#pragma once

#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;

/// Receives the drags of movable widgets; drag and drop is built on it. Main thread; called while input
/// is delivered. The observer may remove the widget.
class DragObserver
{
public:
    virtual ~DragObserver() = default;

    /// A finger begins to move the widget, which still stands where it stood; dragMoved follows.
    virtual void dragBegan(Widget& /*widget*/) {}
    /// The widget was moved by `fingers` fingers (at least one); `scenePoint` is the middle of them.
    virtual void dragMoved(Widget& widget, Vecta::Vector2f scenePoint, int fingers) = 0;
    /// The last finger left a widget that had been dragged; it slides on already, and `stopMotion` ends
    /// it. With `cancelled` the input was lost: nothing is dropped. A widget that leaves the tree, or whose fingers are taken
    /// away, is not reported again.
    virtual void dragEnded(Widget& widget, Vecta::Vector2f scenePoint, bool cancelled) = 0;
};
}
