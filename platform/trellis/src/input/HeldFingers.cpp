#include "input/HeldFingers.hpp"

#include "input/GrabTable.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>

namespace Trellis
{
namespace
{
void countFinger(const Finger& finger, int change)
{
    if (finger.hit)
        WidgetRecords::of(*finger.hit).input.fingersHeld += change;
    if (finger.receiver != finger.hit)
        WidgetRecords::of(*finger.receiver).input.fingersHeld += change;
}
}

Finger* HeldFingers::findFinger(std::int64_t id)
{
    for (Finger& finger : m_fingers)
        if (finger.id == id)
            return &finger;
    return nullptr;
}

Hold* HeldFingers::findHold(const Widget& receiver)
{
    for (Hold& hold : m_holds)
        if (hold.receiver == &receiver)
            return &hold;
    return nullptr;
}

int HeldFingers::fingersOn(const Widget& receiver) const
{
    return int(std::count_if(m_fingers.begin(), m_fingers.end(), [&](const Finger& f) { return f.receiver == &receiver; }));
}

void HeldFingers::add(const Finger& finger)
{
    m_fingers.push_back(finger);
    m_grabs.set(finger.id, *finger.hit);
    countFinger(finger, +1);
}

void HeldFingers::erase(std::int64_t id)
{
    Finger* finger = findFinger(id);
    countFinger(*finger, -1);
    m_grabs.release(id);
    m_fingers.erase(m_fingers.begin() + (finger - m_fingers.data()));
}

Hold HeldFingers::endHold(const Widget& receiver)
{
    Hold* found = findHold(receiver);
    const Hold hold = *found;
    m_holds.erase(m_holds.begin() + (found - m_holds.data()));
    return hold;
}

void HeldFingers::drop(std::int64_t id)
{
    const Finger* finger = findFinger(id);
    if (!finger)
        return;
    const Widget& receiver = *finger->receiver;
    erase(id);
    if (fingersOn(receiver) == 0 && findHold(receiver))
        (void)endHold(receiver);
}

void HeldFingers::widgetLeaves(Widget& widget)
{
    for (Finger& finger : m_fingers) {
        if (finger.hit == &widget) {
            finger.hit = nullptr;
            finger.tapPossible = false;
        }
    }
    // Fingers that hit something else inside, which leaves too, hold it no longer.
    for (std::size_t i = m_fingers.size(); i > 0; --i)
        if (m_fingers[i - 1].receiver == &widget)
            erase(m_fingers[i - 1].id);
    if (findHold(widget))
        (void)endHold(widget);
    m_grabs.releaseAllOf(widget);
    WidgetRecords::of(widget).input.fingersHeld = 0;
}
}
