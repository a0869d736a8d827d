#pragma once

#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstdint>

namespace Trellis
{
class Widget;
}

namespace Tavola
{
/// An event of a drag over a drop listener. A plain record.
struct DropEvent
{
    enum Type : std::uint32_t {
        Hover = 1,      ///< above the listener, held by several fingers: letting go with one would not drop yet
        ValidHover = 2, ///< above the listener: letting go drops
        Leave = 3,
        Drop = 4
    };
    Bedrock::IntrusivePtr<Trellis::Widget> widget; ///< the dragged one
    Vecta::Vector2f position;                      ///< in the listener's coordinates
    std::uint32_t type = 0;
};

/// A widget class that other widgets can be dropped on derives from this beside Trellis::Widget. The host finds the
/// topmost listener under the drag by `isInside`.
class TAVOLA_EXPORT DropListener
{
public:
    virtual ~DropListener();
    /// Returns whether the listener accepts: a hover that is refused sends no Leave, and after a refused drop the widget stays
    /// where it was let go. Called within the frame's input; the listener may remove itself and the widget. Main thread.
    virtual bool dropEvent(const DropEvent& event) = 0;
};
}
