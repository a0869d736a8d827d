#include "contacts/MarkerContacts.hpp"

#include <Bedrock/Trace.hpp>

#include <algorithm>
#include <limits>

namespace Tactile
{
namespace
{
using Change = InputChange::Kind;
using Kind = ContactEvent::Kind;

constexpr std::size_t kUsualCount = 64;
constexpr std::size_t kMaxDoubledCodes = 256; // warned of, so that a broken sender does not fill the log

void lead(MarkerContact& contact, const ContactEvent& event)
{
    contact.isHeld = false;
    contact.key = event.key;
    contact.aim(event);
}
}

MarkerContacts::MarkerContacts(TrackerFrame& frame) : m_frame(frame)
{
    m_markers.reserve(kUsualCount);
    m_sightings.reserve(kUsualCount);
    m_returning.reserve(kUsualCount);
    m_returned.reserve(kUsualCount);
}

void MarkerContacts::beginFrame(const std::vector<ContactEvent>& events)
{
    m_appearing.clear();
    for (const ContactEvent& event : events)
        if (event.kind == Kind::Appear && event.type == TrackedObject::Type::Marker && !event.isInIgnoredArea)
            m_appearing.push_back(event.position);

    m_returned.swap(m_returning);
    for (const ContactEvent& event : m_returned)
        apply(event);
    m_returned.clear();
}

void MarkerContacts::apply(const ContactEvent& event)
{
    if (isReturning(event.key)) {
        m_returning.push_back(event);
        return;
    }
    Sighting* known = findSighting(event.key);
    if (event.kind == Kind::Appear && !known)
        appear(event);
    else if (event.kind == Kind::Move && known)
        move(*known, event);
    else if ((event.kind == Kind::Vanish || event.kind == Kind::Cancel) && known)
        endSighting(*known);
}

bool MarkerContacts::isInOutline(Vecta::Vector2f point) const
{
    const float radius = m_frame.pixels(m_frame.settings.markerOutlineRadiusMm);
    const auto isInside = [&](Vecta::Vector2f centre) { return (centre - point).lengthSquared() < radius * radius; };
    return std::any_of(m_markers.begin(), m_markers.end(), [&](const auto& m) { return isInside(m.target); })
        || std::any_of(m_appearing.begin(), m_appearing.end(), isInside);
}

Sighting* MarkerContacts::findSighting(const ContactKey& key)
{
    const auto found =
        std::find_if(m_sightings.begin(), m_sightings.end(), [&key](const Sighting& s) { return s.event.key == key; });
    return found == m_sightings.end() ? nullptr : &*found;
}

MarkerContact* MarkerContacts::find(std::int64_t id)
{
    const auto found = std::find_if(m_markers.begin(), m_markers.end(), [id](const auto& m) { return m.object.id() == id; });
    return found == m_markers.end() ? nullptr : &*found;
}

MarkerContact* MarkerContacts::findNearest(std::uint64_t code, Vecta::Vector2f point, float within, bool heldOnly)
{
    MarkerContact* best = nullptr;
    float bestDistance = within;
    for (MarkerContact& m : m_markers) {
        const float distance = (m.target - point).length();
        if (m.object.code() == code && (m.isHeld || !heldOnly) && distance <= bestDistance) {
            best = &m;
            bestDistance = distance;
        }
    }
    return best;
}

bool MarkerContacts::isReturning(std::uint64_t code) const
{
    return std::any_of(m_returning.begin(), m_returning.end(), [code](const ContactEvent& e) { return e.code == code; });
}

bool MarkerContacts::isReturning(const ContactKey& key) const
{
    return std::any_of(m_returning.begin(), m_returning.end(), [&key](const ContactEvent& e) { return e.key == key; });
}

void MarkerContacts::appear(const ContactEvent& event)
{
    const float near = m_frame.pixels(m_frame.settings.holdDistanceMm);
    if (MarkerContact* same = findNearest(event.code, event.position, near, false)) {
        m_sightings.push_back({event, same->object.id()});
        if (same->isHeld)
            lead(*same, event);
        return;
    }
    if (event.isInIgnoredArea)
        return;
    // Back, but elsewhere: the card was lifted and put down again. It gets its id again, so its Down comes one frame later:
    // code that compares the ids of successive frames would otherwise miss that it was gone, and open its contents twice.
    MarkerContact* const lifted = findNearest(event.code, event.position, std::numeric_limits<float>::max(), true);
    if (lifted)
        end(*lifted);
    if (lifted || isReturning(event.code))
        m_returning.push_back(event);
    else
        putDown(event);
}

void MarkerContacts::putDown(const ContactEvent& event)
{
    warnOfTwin(event);
    const std::int64_t id = m_frame.ids.idFor(event.code, [this](std::int64_t i) { return find(i) != nullptr; });
    const Marker object(id, event.code, event.position, event.rotationRadians);
    m_markers.emplace_back(object, event, m_frame.now, m_frame.settings);
    m_sightings.push_back({event, id});
    m_frame.push(Change::Down, object);
}

void MarkerContacts::warnOfTwin(const ContactEvent& event)
{
    const auto twin =
        std::find_if(m_markers.begin(), m_markers.end(), [&event](const auto& m) { return m.object.code() == event.code; });
    if (twin != m_markers.end() && m_doubledCodes.size() < kMaxDoubledCodes && m_doubledCodes.insert(event.code).second)
        Bedrock::Trace::warning("ContactTracker::update # Marker %llu is on the table twice (at %.0f, %.0f and at "
                                "%.0f, %.0f); the second is taken as another card, give each card a code of its own",
                                static_cast<unsigned long long>(event.code), double(twin->target.x), double(twin->target.y),
                                double(event.position.x), double(event.position.y));
}

void MarkerContacts::move(Sighting& seen, const ContactEvent& event)
{
    seen.event = event;
    MarkerContact* contact = find(seen.markerId);
    if (!contact)
        return;
    if (contact->key == event.key) {
        contact->aim(event);
    } else if ((contact->target - event.position).length() > m_frame.pixels(m_frame.settings.holdDistanceMm)) {
        // Two sightings that part were two cards.
        m_sightings.erase(m_sightings.begin() + (&seen - m_sightings.data()));
        putDown(event);
    }
}

void MarkerContacts::endSighting(Sighting& seen)
{
    const Sighting ended = seen;
    m_sightings.erase(m_sightings.begin() + (&seen - m_sightings.data()));
    MarkerContact* contact = find(ended.markerId);
    if (!contact || !(contact->key == ended.event.key))
        return;
    for (const Sighting& other : m_sightings)
        if (other.markerId == ended.markerId)
            return lead(*contact, other.event);
    contact->isHeld = true;
    contact->heldSince = m_frame.now;
}

bool MarkerContacts::endSightings(std::uint16_t source)
{
    bool hadAny = false;
    for (std::size_t i = m_sightings.size(); i-- > 0;) {
        if (m_sightings[i].event.key.source == source) {
            endSighting(m_sightings[i]);
            hadAny = true;
        }
    }
    return hadAny;
}

void MarkerContacts::endHolds()
{
    for (std::size_t i = 0; i < m_markers.size();) {
        if (m_markers[i].isHeld && m_frame.now - m_markers[i].heldSince >= m_frame.settings.holdSeconds - kTimeSlack)
            end(m_markers[i]);
        else
            ++i;
    }
}

void MarkerContacts::end(MarkerContact& contact)
{
    m_frame.follow(contact);
    m_frame.push(Change::Up, contact.object);
    m_markers.erase(m_markers.begin() + (&contact - m_markers.data()));
}

void MarkerContacts::followAll()
{
    for (MarkerContact& m : m_markers)
        m_frame.follow(m);
}

void MarkerContacts::writeTo(Sample& sample) const
{
    for (const MarkerContact& m : m_markers)
        sample.markers.push_back(m.object);
}
}
