#pragma once

#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Vecta/Vector2T.hpp>

#include <vector>

namespace Trellis
{
class ImageWidget;
class Widget;
}

namespace Tavola
{
/// Shows that a drag hovers over the drop area of a personal space: a picture of class "drop-indicator" in the host's overlay,
/// the pseudo-class "valid-hover" on the area's parent, and "valid-drop" on the dragged widget when releasing it would drop it.
/// A member of the area. Does not end the hover by itself: the area calls `end` in its destructor. Main thread only.
class DropHover
{
public:
    explicit DropHover(Trellis::Widget& area);
    ~DropHover();
    DropHover(const DropHover&) = delete;
    DropHover& operator=(const DropHover&) = delete;

    /// Marks the parent, which must exist, and moves the indicator to a point of the table.
    void hover(Vecta::Vector2f scenePoint);
    /// Sets "valid-drop" on a dragged widget, and keeps a weak pointer to it for `end`.
    void markDragged(Trellis::Widget& dragged);
    /// Clears the marks of parent and dragged widget and removes the indicator. The area must have a parent.
    void leave(Trellis::Widget& dragged);
    /// The marks stay: after a drop only the leave clears them.
    void removeIndicator();
    /// Removes everything that shows a hover: the indicator, "valid-hover" of the parent, if any, and "valid-drop" of every
    /// widget that was marked here.
    void end();

private:
    void updateIndicator(Vecta::Vector2f scenePoint);
    void forget(const Trellis::Widget& dragged);

    Trellis::Widget& m_area;
    Bedrock::IntrusivePtr<Trellis::ImageWidget> m_indicator;          ///< null while nothing hovers
    std::vector<Bedrock::IntrusiveWeakPtr<Trellis::Widget>> m_marked; ///< widgets with "valid-drop" set by this object
};
}
