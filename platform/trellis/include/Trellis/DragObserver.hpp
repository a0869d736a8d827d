#pragma once

#include <Vecta/Vector2T.hpp>

namespace Trellis
{
class Widget;

/// Hears how visitors drag movable widgets about; the host core makes drag and drop of it. Main thread; called while input
/// is delivered. The observer may remove the widget.
class DragObserver
{
public:
    virtual ~DragObserver() = default;

    /// The widget was moved by `fingers` fingers (at least one); `scenePoint` is the middle of them.
    virtual void dragMoved(Widget& widget, Vecta::Vector2f scenePoint, int fingers) = 0;
    /// The last finger let go of a widget that had been dragged. With `cancelled` the input was lost: nothing is dropped.
    virtual void dragEnded(Widget& widget, Vecta::Vector2f scenePoint, bool cancelled) = 0;
};
}
