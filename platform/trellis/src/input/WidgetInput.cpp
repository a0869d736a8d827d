#include "input/WidgetInput.hpp"

#include "application/Guarded.hpp"
#include "input/GrabManagerPrivate.hpp"
#include "input/HitTest.hpp"
#include "layout/LayoutEngine.hpp"
#include "motion/MotionController.hpp"
#include "tree/WidgetEvents.hpp"
#include "tree/WidgetPrivate.hpp"

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
}

WidgetInput* WidgetInput::s_current = nullptr;

WidgetInput::WidgetInput(GrabManager& grabManager, Widget& root) : m_grabManager(grabManager), m_root(root)
{
    s_current = this;
    m_grabManager.d->fingers = this;
}

WidgetInput::~WidgetInput()
{
    m_grabManager.d->fingers = nullptr;
    s_current = nullptr;
}

void WidgetInput::process(const Tactile::Sample& sample, double timeSeconds, double dtSeconds)
{
    using Kind = Tactile::InputChange::Kind;
    m_time = timeSeconds;
    m_dt = dtSeconds;
    for (std::size_t i = 0; i < sample.changes.size(); ++i) {
        const Tactile::InputChange& change = sample.changes[i];
        if (!change.object.isFinger())
            continue;
        guarded("A listener to a finger", [&] {
            switch (change.kind) {
            case Kind::Down: fingerDown(change.object); break;
            case Kind::Move: fingerMoved(change.object); break;
            case Kind::Up:
            case Kind::Cancel: fingerLeft(change.object, change.kind == Kind::Cancel); break;
            }
        });
    }
    stepAll();
    finishFrame();
}

// ---- Fingers come, move and go -----------------------------------------------------------------------------------------

void WidgetInput::fingerDown(const Tactile::TrackedObject& object)
{
    if (findFinger(object.id()))
        return;
    if (Widget* hit = HitTest::taker(m_root, m_grabManager, object))
        begin(object, *hit, true);
}

void WidgetInput::begin(const Tactile::TrackedObject& object, Widget& hit, bool tapPossible)
{
    const IntrusivePtr<Widget> keepHit(&hit);
    Widget& receiver = receiverOf(hit);
    const IntrusivePtr<Widget> keepReceiver(&receiver);
    if (findHold(receiver)) {
        // The fingers that hold it already finish what they did alone.
        step(receiver);
        if (!hit.d->inTree || !receiver.d->inTree)
            return;
    }
    const bool joins = findHold(receiver) != nullptr;
    if (joins) {
        tapPossible = false;
        for (Finger& finger : m_fingers)
            if (finger.receiver == &receiver)
                finger.tapPossible = false;
    } else {
        MotionController::stop(receiver);
        Hold hold{};
        hold.receiver = &receiver;
        m_holds.push_back(hold);
    }
    m_fingers.push_back(
        {object.id(), object.centerLocation(), object.centerLocation(), Vector2f(), m_time, &hit, &receiver, tapPossible});
    m_grabManager.d->set(object.id(), hit);
    ++hit.d->fingersHeld;
    if (&receiver != &hit)
        ++receiver.d->fingersHeld;
    settle(receiver);
    touch(&hit);
    if (!joins) {
        if (receiver.d->movable.value())
            receiver.raiseToTop();
        receiver.eventSend(WidgetEvents::kInteractionBegin);
    }
    const Finger* finger = findFinger(object.id());
    if (finger && finger->hit == &hit)
        sendFinger(WidgetEvents::kFingerDown, hit, object.id(), object.centerLocation());
}

void WidgetInput::fingerMoved(const Tactile::TrackedObject& object)
{
    Finger* finger = findFinger(object.id());
    if (!finger || finger->now == object.centerLocation())
        return;
    finger->now = object.centerLocation();
    const bool beyondTap = (finger->now - finger->start).length() > m_tapDistancePx;
    if (beyondTap)
        finger->tapPossible = false;
    Hold* hold = findHold(*finger->receiver);
    if (hold->dragging || (!beyondTap && fingersOn(*hold->receiver) < 2))
        return;
    hold->dragging = true;
    for (Finger& other : m_fingers)
        if (other.receiver == hold->receiver)
            other.tapPossible = false;
}

void WidgetInput::fingerLeft(const Tactile::TrackedObject& object, bool cancelled)
{
    if (!findFinger(object.id()))
        return;
    if (!cancelled)
        fingerMoved(object);
    guarded("A listener to a drag", [&] { step(*findFinger(object.id())->receiver); });
    // A listener may have taken the finger away. Where one gave it to another widget, it ends there.
    const Finger* found = findFinger(object.id());
    if (!found)
        return;
    const Finger finger = *found;
    const IntrusivePtr<Widget> receiver(finger.receiver);
    const IntrusivePtr<Widget> hit(finger.hit);
    touch(receiver.get());
    touch(finger.hit);
    eraseFinger(finger.id);
    if (fingersOn(*receiver) > 0) {
        if (finger.hit)
            sendFinger(WidgetEvents::kFingerUp, *hit, finger.id, finger.now);
        return;
    }

    const Hold hold = *findHold(*receiver);
    m_holds.erase(std::find_if(m_holds.begin(), m_holds.end(), [&](const Hold& h) { return h.receiver == receiver.get(); }));
    if (hold.announced && !cancelled) {
        const bool movesNow = hold.travel != Vector2f();
        Vector2f velocity = hold.velocity;
        if (movesNow && m_dt > 0.0)
            velocity = velocity * (1.f - kNewest) + hold.travel * float(kNewest / m_dt);
        if (hold.movingFrames + (movesNow ? 1 : 0) >= kThrowFrames)
            MotionController::release(*receiver, velocity);
    }
    if (hold.announced && m_observer)
        m_observer->dragEnded(*receiver, finger.now, cancelled);
    if (receiver->d->inTree)
        receiver->eventSend(WidgetEvents::kInteractionEnd);
    if (finger.hit && hit->d->inTree)
        sendFinger(WidgetEvents::kFingerUp, *hit, finger.id, finger.now);
    const bool inTime = m_time - finger.downTime < m_tapSeconds;
    if (!cancelled && finger.tapPossible && inTime && finger.hit && hit->d->inTree)
        sendTap(*hit, finger.now);
}

void WidgetInput::sendFinger(Facet::EventName event, Widget& hit, std::int64_t id, Vector2f scenePoint)
{
    if (!hit.eventHasListeners(event))
        return;
    const Vector2f point = hit.mapFromScene(scenePoint);
    Bedrock::BinaryData payload;
    payload.writeInt64(id);
    payload.writeFloat32(point.x);
    payload.writeFloat32(point.y);
    hit.eventSend(event, payload);
}

void WidgetInput::sendTap(Widget& hit, Vector2f scenePoint)
{
    for (Widget* widget = &hit; widget; widget = widget->m_parent) {
        if (!widget->eventHasListeners(WidgetEvents::kSingleTap))
            continue;
        const Vector2f point = widget->mapFromScene(scenePoint);
        Bedrock::BinaryData payload;
        payload.writeFloat32(point.x);
        payload.writeFloat32(point.y);
        const IntrusivePtr<Widget> keep(widget);
        widget->eventSend(WidgetEvents::kSingleTap, payload);
        return;
    }
}

void WidgetInput::transfer(std::int64_t id, Widget& to)
{
    const Finger* finger = findFinger(id);
    if (!finger)
        return;
    const Tactile::TrackedObject object(Tactile::TrackedObject::Type::Finger, id, finger->now);
    drop(id);
    begin(object, to, false);
}

void WidgetInput::drop(std::int64_t id)
{
    const Finger* finger = findFinger(id);
    if (!finger)
        return;
    Widget* receiver = finger->receiver;
    eraseFinger(id);
    if (fingersOn(*receiver) == 0)
        m_holds.erase(std::remove_if(m_holds.begin(), m_holds.end(), [&](const Hold& h) { return h.receiver == receiver; }),
                      m_holds.end());
}

// ---- Dragging --------------------------------------------------------------------------------------------------------

/// Where the fingers are now is where the next step begins.
void WidgetInput::settle(Widget& receiver)
{
    for (Finger& finger : m_fingers)
        if (finger.receiver == &receiver)
            finger.settled = receiver.m_parent ? receiver.m_parent->mapFromScene(finger.now) : finger.now;
}

void WidgetInput::step(Widget& receiver)
{
    const IntrusivePtr<Widget> keep(&receiver);
    LayoutEngine::bringUpToDate(receiver);
    Hold* hold = findHold(receiver);
    if (!hold || !hold->dragging || !receiver.m_parent)
        return;
    const auto& d = *receiver.d;
    m_from.clear();
    m_to.clear();
    Vector2f middle;
    bool moved = false;
    for (Finger& finger : m_fingers) {
        if (finger.receiver != &receiver)
            continue;
        const Vector2f now = receiver.m_parent->mapFromScene(finger.now);
        moved = moved || now != finger.settled;
        m_from.push_back(finger.settled);
        m_to.push_back(now);
        middle += finger.now;
        finger.settled = now;
    }
    if (!moved)
        return;
    const int count = int(m_from.size());
    const auto change = MotionController::fit(m_from.data(), m_to.data(), count, d.rotatable.value(), d.scalable.value());
    if (!hold->announced && d.movable.value()) {
        hold->announced = true;
        if (m_observer) {
            m_observer->dragBegan(receiver);
            hold = findHold(receiver);
            // Fingers may have been taken away meanwhile, but those that are there did not move.
            if (!hold)
                return;
        }
    }
    hold->travel += change.to - change.from;
    MotionController::apply(receiver, change);
    if (m_observer && d.movable.value() && findHold(receiver))
        m_observer->dragMoved(receiver, middle / float(count), count);
}

/// Outer widgets first: the inner ones then make up for having been carried along.
void WidgetInput::stepAll()
{
    for (Hold& hold : m_holds)
        hold.stepped = false;
    for (;;) {
        Hold* next = nullptr;
        int nextDepth = 0;
        for (Hold& hold : m_holds) {
            const int depth = hold.stepped ? 0 : depthOf(*hold.receiver);
            if (!hold.stepped && (!next || depth < nextDepth)) {
                next = &hold;
                nextDepth = depth;
            }
        }
        if (!next)
            return;
        next->stepped = true;
        guarded("A listener to a drag", [&] { step(*next->receiver); });
    }
}

void WidgetInput::finishFrame()
{
    for (Hold& hold : m_holds) {
        const bool moved = hold.travel != Vector2f();
        if (!moved)
            hold.velocity *= kAfterRest;
        else if (m_dt > 0.0)
            hold.velocity = hold.velocity * (1.f - kNewest) + hold.travel * float(kNewest / m_dt);
        if (moved)
            ++hold.movingFrames;
        hold.travel = Vector2f();
    }
    for (const Finger& finger : m_fingers) {
        touch(finger.receiver);
        touch(finger.hit);
    }
}

void WidgetInput::touch(Widget* widget) const
{
    for (; widget; widget = widget->m_parent)
        widget->d->lastTouch = m_time;
}

// ---- Widgets leave ---------------------------------------------------------------------------------------------------

void WidgetInput::widgetLeaves(Widget& widget)
{
    if (!s_current)
        return;
    WidgetInput& self = *s_current;
    for (Finger& finger : self.m_fingers) {
        if (finger.hit == &widget) {
            finger.hit = nullptr;
            finger.tapPossible = false;
        }
    }
    // Fingers that hit something else inside, which leaves too, hold it no longer.
    for (std::size_t i = self.m_fingers.size(); i > 0; --i)
        if (self.m_fingers[i - 1].receiver == &widget)
            self.eraseFinger(self.m_fingers[i - 1].id);
    self.m_holds.erase(
        std::remove_if(self.m_holds.begin(), self.m_holds.end(), [&](const Hold& h) { return h.receiver == &widget; }),
        self.m_holds.end());
    self.m_grabManager.d->releaseAllOf(widget);
    widget.d->fingersHeld = 0;
}

void WidgetInput::dropAllBelow(Widget& widget)
{
    widgetLeaves(widget);
    for (const auto& child : widget.m_children)
        dropAllBelow(*child);
}

// ---- Looking things up -----------------------------------------------------------------------------------------------

WidgetInput::Finger* WidgetInput::findFinger(std::int64_t id)
{
    for (Finger& finger : m_fingers)
        if (finger.id == id)
            return &finger;
    return nullptr;
}

WidgetInput::Hold* WidgetInput::findHold(const Widget& receiver)
{
    for (Hold& hold : m_holds)
        if (hold.receiver == &receiver)
            return &hold;
    return nullptr;
}

int WidgetInput::fingersOn(const Widget& receiver) const
{
    return int(std::count_if(m_fingers.begin(), m_fingers.end(), [&](const Finger& f) { return f.receiver == &receiver; }));
}

void WidgetInput::eraseFinger(std::int64_t id)
{
    Finger* finger = findFinger(id);
    if (finger->hit)
        --finger->hit->d->fingersHeld;
    if (finger->receiver != finger->hit)
        --finger->receiver->d->fingersHeld;
    m_grabManager.d->release(id);
    m_fingers.erase(m_fingers.begin() + (finger - m_fingers.data()));
}

Widget& WidgetInput::receiverOf(Widget& hit)
{
    for (Widget* widget = &hit; widget; widget = widget->m_parent) {
        const auto& d = *widget->d;
        if (d.movable.value() || d.rotatable.value() || d.scalable.value())
            return *widget;
        if (d.holdsFingers)
            return hit;
    }
    return hit;
}

int WidgetInput::depthOf(const Widget& widget)
{
    int depth = 0;
    for (const Widget* w = widget.m_parent; w; w = w->m_parent)
        ++depth;
    return depth;
}
}
