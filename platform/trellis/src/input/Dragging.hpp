#pragma once

#include <Vecta/Vector2T.hpp>

#include <cstddef>
#include <vector>

namespace Trellis
{
class DragObserver;
class HeldFingers;
class MotionController;
class Widget;
struct Hold;

/// Moves what fingers hold. A hold is resting until a finger goes beyond the tap distance, or one of several moves; then it
/// is dragging, until its last finger lets go.
class Dragging
{
public:
    Dragging(HeldFingers& held, MotionController& motion) : m_held(held), m_motion(motion) {}
    Dragging(const Dragging&) = delete;
    Dragging& operator=(const Dragging&) = delete;

    /// Null for none. Not owned.
    void setObserver(DragObserver* observer) noexcept { m_observer = observer; }

    /// The next step of the receiver begins where its fingers are now.
    void settle(const Widget& receiver);
    /// Moves the receiver as its fingers did since its last step. Listeners may remove any widget.
    void step(Widget& receiver);
    /// Moves all receivers that were not moved in this frame, outer ones first: the inner ones then make up for having been
    /// carried along.
    void stepAll();
    /// The frame's travel becomes part of the speeds.
    void finishFrame(double dtSeconds);
    /// The last finger of a hold, which is over already, let go at `scenePoint`: the receiver slides on, and the observer is
    /// called. With `cancelled` it stands still.
    void end(Widget& receiver, const Hold& hold, Vecta::Vector2f scenePoint, bool cancelled, double dtSeconds);

private:
    /// A receiver that is to be moved. It may be gone by then: only its address is used.
    struct Place
    {
        int depth;        ///< in the tree
        std::size_t held; ///< its place among all holds
        const Widget* receiver;
    };
    [[nodiscard]] bool orderUnstepped();

    HeldFingers& m_held;
    MotionController& m_motion;
    DragObserver* m_observer = nullptr;
    std::vector<Vecta::Vector2f> m_from; ///< reused
    std::vector<Vecta::Vector2f> m_to;
    std::vector<Place> m_order;
};
}
