#include "contacts/FingerContacts.hpp"

#include "contacts/FindInOrder.hpp"

namespace Tactile
{
using Change = InputChange::Kind;

FingerContact* FingerContacts::find(const ContactKey& key)
{
    return findInOrder(m_fingers, m_nextFinger, [&key](const FingerContact& finger) { return finger.key == key; });
}

void FingerContacts::letDown(const ContactEvent& event)
{
    const TrackedObject object(TrackedObject::Type::Finger, m_frame.ids.fresh(), event.position);
    m_fingers.emplace_back(object, event, m_frame.now, m_frame.settings);
    m_frame.push(Change::Down, object);
}

void FingerContacts::change(FingerContact& contact, const ContactEvent& event)
{
    switch (event.kind) {
    case ContactEvent::Kind::Move: contact.aim(event); break;
    case ContactEvent::Kind::Vanish: end(contact, Change::Up); break;
    case ContactEvent::Kind::Cancel: end(contact, Change::Cancel); break;
    case ContactEvent::Kind::Seen:
    case ContactEvent::Kind::Appear: break;
    }
}

void FingerContacts::end(FingerContact& contact, Change kind)
{
    if (kind == Change::Up)
        m_frame.follow(contact);
    m_frame.push(kind, contact.object);
    m_fingers.erase(m_fingers.begin() + (&contact - m_fingers.data()));
}

bool FingerContacts::cancelAll(std::uint16_t source)
{
    bool hadAny = false;
    for (std::size_t i = m_fingers.size(); i-- > 0;) {
        if (m_fingers[i].key.source == source) {
            end(m_fingers[i], Change::Cancel);
            hadAny = true;
        }
    }
    return hadAny;
}

void FingerContacts::followAll()
{
    for (FingerContact& f : m_fingers)
        m_frame.follow(f);
}

void FingerContacts::writeTo(Sample& sample) const
{
    for (const FingerContact& f : m_fingers)
        sample.fingers.push_back(f.object);
}
}
