#include "input/Dragging.hpp"

#include "input/HeldFingers.hpp"
#include "motion/MotionController.hpp"
#include "tree/FrameGuard.hpp"
#include "tree/WidgetRecords.hpp"

#include <Trellis/DragObserver.hpp>

#include <algorithm>

namespace Trellis
{
using Bedrock::IntrusivePtr;
using Vecta::Vector2f;

namespace
{
/// How much of the speed is that of the newest frame, and what a frame without movement leaves of it.
constexpr float kNewest = 0.6f;
constexpr float kAfterRest = 0.4f;
/// One jump is no throw: the finger must have been seen moving in that many frames.
constexpr int kThrowFrames = 2;

Vector2f blended(Vector2f velocity, Vector2f travel, double dtSeconds)
{
    return velocity * (1.f - kNewest) + travel * float(kNewest / dtSeconds);
}

int depthOf(const Widget& widget)
{
    int depth = 0;
    (void)widget.nearest([&depth](const Widget&) {
        ++depth;
        return false;
    });
    return depth;
}
}

void Dragging::settle(const Widget& receiver)
{
    const Widget* parent = receiver.parent();
    for (Finger& finger : m_held.fingers())
        if (finger.receiver == &receiver)
            finger.settled = parent ? parent->mapFromScene(finger.now) : finger.now;
}

void Dragging::step(Widget& receiver)
{
    const IntrusivePtr<Widget> keep(&receiver);
    bringLayoutUpToDate(receiver);
    Hold* hold = m_held.findHold(receiver);
    if (!hold || !hold->dragging || !receiver.parent())
        return;
    const MotionRecord& motion = WidgetRecords::of(receiver).motion;
    m_from.clear();
    m_to.clear();
    Vector2f middle;
    bool moved = false;
    for (Finger& finger : m_held.fingers()) {
        if (finger.receiver != &receiver)
            continue;
        const Vector2f now = receiver.parent()->mapFromScene(finger.now);
        moved = moved || now != finger.settled;
        m_from.push_back(finger.settled);
        m_to.push_back(now);
        middle += finger.now;
        finger.settled = now;
    }
    if (!moved)
        return;
    const int count = int(m_from.size());
    const auto change = MotionController::fit(m_from.data(), m_to.data(), count, motion.handling->rotatable.value(),
                                              motion.handling->scalable.value());
    if (!hold->announced && motion.handling->movable.value()) {
        hold->announced = true;
        if (m_observer) {
            m_observer->dragBegan(receiver);
            hold = m_held.findHold(receiver);
            // Fingers may have been taken away meanwhile, but those that are there did not move.
            if (!hold)
                return;
        }
    }
    hold->travel += change.to - change.from;
    m_motion.apply(receiver, change);
    if (m_observer && motion.handling->movable.value() && m_held.findHold(receiver))
        m_observer->dragMoved(receiver, middle / float(count), count);
}

void Dragging::stepAll()
{
    for (Hold& hold : m_held.holds())
        hold.stepped = false;
    while (orderUnstepped()) {
        for (std::size_t i = 0; i < m_order.size(); ++i) {
            // Listeners may end holds, and begin others, which have their turn after these. What is moved elsewhere is let go.
            Hold* const hold = m_held.findHoldOf(m_order[i].receiver);
            if (!hold)
                continue;
            hold->stepped = true;
            guardedInFrame("A listener to a drag", [&] { step(*hold->receiver); });
        }
    }
}

/// Fills the order with the receivers that were not moved in this frame. False when there are none.
bool Dragging::orderUnstepped()
{
    m_order.clear();
    for (const Hold& hold : m_held.holds())
        if (!hold.stepped)
            m_order.push_back({depthOf(*hold.receiver), m_order.size(), hold.receiver});
    const auto isBefore = [](const Place& a, const Place& b) { return a.depth != b.depth ? a.depth < b.depth : a.held < b.held; };
    if (!std::is_sorted(m_order.begin(), m_order.end(), isBefore))
        std::sort(m_order.begin(), m_order.end(), isBefore);
    return !m_order.empty();
}

void Dragging::finishFrame(double dtSeconds)
{
    for (Hold& hold : m_held.holds()) {
        const bool moved = hold.travel != Vector2f();
        if (!moved)
            hold.velocity *= kAfterRest;
        else if (dtSeconds > 0.0)
            hold.velocity = blended(hold.velocity, hold.travel, dtSeconds);
        if (moved)
            ++hold.movingFrames;
        hold.travel = Vector2f();
    }
}

void Dragging::end(Widget& receiver, const Hold& hold, Vector2f scenePoint, bool cancelled, double dtSeconds)
{
    if (!hold.announced)
        return;
    const bool movesNow = hold.travel != Vector2f();
    if (!cancelled && hold.movingFrames + (movesNow ? 1 : 0) >= kThrowFrames)
        m_motion.release(receiver, movesNow && dtSeconds > 0.0 ? blended(hold.velocity, hold.travel, dtSeconds) : hold.velocity);
    if (m_observer)
        m_observer->dragEnded(receiver, scenePoint, cancelled);
}
}
