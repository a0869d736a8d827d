#include "input/HeldFingers.hpp"

#include "input/GrabTable.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>

namespace Trellis
{
namespace
{
/// The one element of which `test` holds, or null. Frames move fingers in the same order again and again, and each several times:
/// the search begins with the last one found, whose index `last` is. Any index is right.
template <class Element, class Test>
Element* findFrom(std::vector<Element>& elements, std::size_t& last, Test test)
{
    const std::size_t count = elements.size();
    std::size_t at = last < count ? last : 0;
    for (std::size_t tried = 0; tried < count; ++tried) {
        if (test(elements[at])) {
            last = at;
            return &elements[at];
        }
        at = at + 1 < count ? at + 1 : 0;
    }
    return nullptr;
}

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
    return findFrom(m_fingers, m_lastFinger, [id](const Finger& finger) { return finger.id == id; });
}

Hold* HeldFingers::findHoldOf(const Widget* receiver)
{
    return findFrom(m_holds, m_lastHold, [receiver](const Hold& hold) { return hold.receiver == receiver; });
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
