#pragma once

#include <Vecta/Vector2T.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Trellis
{
class GrabTable;
class Widget;

/// A finger that is down on a widget.
struct Finger
{
    std::int64_t id;
    Vecta::Vector2f start; ///< scene
    Vecta::Vector2f now;
    Vecta::Vector2f settled; ///< where it was at the last step, in the coordinates of the receiver's parent
    double downTime;         ///< frame time
    Widget* hit;             ///< null when that widget has left
    Widget* receiver;        ///< the widget that it moves
    bool tapPossible;
};

/// All fingers with one receiver.
struct Hold
{
    Widget* receiver;
    bool dragging = false;
    bool announced = false;   ///< the observer received the beginning of the drag
    Vecta::Vector2f velocity; ///< pixels of the receiver's parent per second
    Vecta::Vector2f travel;   ///< in this frame
    int movingFrames = 0;
    bool stepped = false; ///< in this frame
};

/// The fingers that are down on widgets, and the holds that they make. Every receiver of a finger has a hold, and every hold
/// a finger. Pointers into it are good until a finger is added or erased, so they are looked up anew after every call that
/// runs a listener.
class HeldFingers
{
public:
    explicit HeldFingers(GrabTable& grabs) : m_grabs(grabs) {}

    [[nodiscard]] std::vector<Finger>& fingers() noexcept { return m_fingers; }
    [[nodiscard]] std::vector<Hold>& holds() noexcept { return m_holds; }
    [[nodiscard]] Finger* findFinger(std::int64_t id);
    [[nodiscard]] Hold* findHold(const Widget& receiver) { return findHoldOf(&receiver); }
    /// As above of a widget that may be gone.
    [[nodiscard]] Hold* findHoldOf(const Widget* receiver);
    [[nodiscard]] int fingersOn(const Widget& receiver) const;

    /// The finger is held by its hit widget from now on.
    void add(const Finger& finger);
    /// Forgets the finger; its hold stays.
    void erase(std::int64_t id);
    /// Ends the hold of a receiver, and returns it.
    Hold endHold(const Widget& receiver);
    /// Forgets the finger, and its hold if it was the last one of it.
    void drop(std::int64_t id);
    /// Forgets all that has to do with a widget that leaves the tree.
    void widgetLeaves(Widget& widget);

private:
    GrabTable& m_grabs;
    std::vector<Finger> m_fingers;
    std::vector<Hold> m_holds;
    // Likely the ones that are looked for next.
    std::size_t m_lastFinger = 0;
    std::size_t m_lastHold = 0;
};
}
