#include "input/FingerInput.hpp"

#include "motion/MotionController.hpp"
#include "tree/FrameGuard.hpp"
#include "tree/WidgetEvents.hpp"
#include "tree/WidgetRecords.hpp"

namespace Trellis
{
using Bedrock::IntrusivePtr;
using Vecta::Vector2f;

namespace
{
bool isInTree(const Widget& widget)
{
    return WidgetRecords::of(widget).drawing.inTree;
}

/// The widget that a finger on `hit` moves.
Widget& receiverOf(Widget& hit)
{
    Widget* found = hit.nearest([](const Widget& widget) {
        const WidgetRecords& records = WidgetRecords::of(widget);
        return records.motion.followsFingers() || records.input.holdsFingers;
    });
    return found && WidgetRecords::of(*found).motion.followsFingers() ? *found : hit;
}
}

FingerInput::FingerInput(GrabTable& grabs, MotionController& motion) : m_motion(motion), m_held(grabs), m_dragging(m_held, motion)
{
}

void FingerInput::setTapLimits(float distancePx, double seconds) noexcept
{
    m_tapDistancePx = distancePx;
    m_tapSeconds = seconds;
}

void FingerInput::beginFrame(double timeSeconds, double dtSeconds) noexcept
{
    m_time = timeSeconds;
    m_dt = dtSeconds;
}

void FingerInput::endFrame()
{
    m_dragging.stepAll();
    m_dragging.finishFrame(m_dt);
    for (const Finger& finger : m_held.fingers()) {
        touch(finger.receiver);
        touch(finger.hit);
    }
}

// ---- Fingers come, move and leave ------------------------------------------------------------------------------------

void FingerInput::down(const Tactile::TrackedObject& object, Widget& hit)
{
    begin(object, hit, Tap::Possible);
}

void FingerInput::begin(const Tactile::TrackedObject& object, Widget& hit, Tap tap)
{
    const IntrusivePtr<Widget> keepHit(&hit);
    Widget& receiver = receiverOf(hit);
    const IntrusivePtr<Widget> keepReceiver(&receiver);
    if (m_held.findHold(receiver)) {
        // The fingers that hold it already finish what they did alone.
        m_dragging.step(receiver);
        if (!isInTree(hit) || !isInTree(receiver))
            return;
    }
    const bool joins = m_held.findHold(receiver) != nullptr;
    if (joins) {
        tap = Tap::Impossible;
        for (Finger& finger : m_held.fingers())
            if (finger.receiver == &receiver)
                finger.tapPossible = false;
    } else {
        m_motion.stop(receiver);
        if (WidgetRecords::of(receiver).motion.followsFingers())
            MotionController::takeOver(receiver);
        if (!isInTree(hit) || !isInTree(receiver))
            return;
        Hold hold{};
        hold.receiver = &receiver;
        m_held.holds().push_back(hold);
    }
    const Vector2f point = object.centerLocation();
    m_held.add({object.id(), point, point, Vector2f(), m_time, &hit, &receiver, tap == Tap::Possible});
    m_dragging.settle(receiver);
    touch(&hit);
    if (!joins) {
        if (WidgetRecords::of(receiver).motion.handling->movable.value())
            receiver.raiseToTop();
        receiver.eventSend(WidgetEvents::kInteractionBegin);
    }
    const Finger* finger = m_held.findFinger(object.id());
    if (finger && finger->hit == &hit)
        sendFinger(WidgetEvents::kFingerDown, hit, object.id(), point);
}

void FingerInput::moved(const Tactile::TrackedObject& object)
{
    Finger* finger = m_held.findFinger(object.id());
    if (!finger || finger->now == object.centerLocation())
        return;
    finger->now = object.centerLocation();
    const bool beyondTap = (finger->now - finger->start).length() > m_tapDistancePx;
    if (beyondTap)
        finger->tapPossible = false;
    Hold* hold = m_held.findHold(*finger->receiver);
    if (hold->dragging || (!beyondTap && m_held.fingersOn(*hold->receiver) < 2))
        return;
    hold->dragging = true;
    for (Finger& other : m_held.fingers())
        if (other.receiver == hold->receiver)
            other.tapPossible = false;
}

void FingerInput::left(const Tactile::TrackedObject& object, bool cancelled)
{
    if (!isDown(object.id()))
        return;
    if (!cancelled)
        moved(object);
    guardedInFrame("A listener to a drag", [&] { m_dragging.step(*m_held.findFinger(object.id())->receiver); });
    // A listener may have taken the finger away. Where one gave it to another widget, it ends there.
    const Finger* found = m_held.findFinger(object.id());
    if (!found)
        return;
    const Finger finger = *found;
    const IntrusivePtr<Widget> receiver(finger.receiver);
    const IntrusivePtr<Widget> hit(finger.hit);
    touch(receiver.get());
    touch(finger.hit);
    m_held.erase(finger.id);
    if (m_held.fingersOn(*receiver) > 0) {
        if (finger.hit)
            sendFinger(WidgetEvents::kFingerUp, *hit, finger.id, finger.now);
        return;
    }

    m_dragging.end(*receiver, m_held.endHold(*receiver), finger.now, cancelled, m_dt);
    if (isInTree(*receiver))
        receiver->eventSend(WidgetEvents::kInteractionEnd);
    if (finger.hit && isInTree(*hit))
        sendFinger(WidgetEvents::kFingerUp, *hit, finger.id, finger.now);
    const bool inTime = m_time - finger.downTime < m_tapSeconds;
    if (!cancelled && finger.tapPossible && inTime && finger.hit && isInTree(*hit))
        sendTap(*hit, finger.now);
}

void FingerInput::transfer(std::int64_t id, Widget& to)
{
    const Finger* finger = m_held.findFinger(id);
    if (!finger)
        return;
    const Tactile::TrackedObject object(Tactile::TrackedObject::Type::Finger, id, finger->now);
    drop(id);
    begin(object, to, Tap::Impossible);
}

// ---- Events ----------------------------------------------------------------------------------------------------------

void FingerInput::sendFinger(Facet::EventName event, Widget& hit, std::int64_t id, Vector2f scenePoint)
{
    if (!hit.eventHasListeners(event))
        return;
    const Vector2f point = hit.mapFromScene(scenePoint);
    hit.eventSendValues(event, id, point.x, point.y);
}

void FingerInput::sendTap(Widget& hit, Vector2f scenePoint)
{
    Widget* widget = hit.nearest([](const Widget& w) { return w.eventHasListeners(WidgetEvents::kSingleTap); });
    if (!widget)
        return;
    const Vector2f point = widget->mapFromScene(scenePoint);
    const IntrusivePtr<Widget> keep(widget);
    widget->eventSendValues(WidgetEvents::kSingleTap, point.x, point.y);
}

/// The idle time of the widget and everything that it is in begins anew.
void FingerInput::touch(Widget* widget) const
{
    for (; widget; widget = widget->parent())
        WidgetRecords::of(*widget).input.lastTouch = m_time;
}
}
