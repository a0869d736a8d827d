#include <Tactile/ContactTracker.hpp>

#include "contacts/Contact.hpp"
#include "contacts/MarkerIds.hpp"

#include <Bedrock/Trace.hpp>
#include <Tactile/Sample.hpp>

#include <algorithm>
#include <limits>
#include <unordered_set>

namespace Tactile
{
namespace
{
using Change = InputChange::Kind;

constexpr std::size_t kUsualContacts = 64;
constexpr double kTimeSlack = 1e-6;           // frame times are sums of steps, and ten tenths are not quite one
constexpr std::size_t kMaxDoubledCodes = 256; // what is warned of, so that a mad sender does not fill the log
}

struct ContactTracker::Private
{
    const TrackerSettings settings;
    MarkerIds ids;
    std::vector<FingerContact> fingers; // by id, ascending: ids only grow
    std::vector<MarkerContact> markers; // as put down
    std::vector<Sighting> sightings;
    std::vector<Vecta::Vector2f> coming;            // places of the markers that appear in this frame
    std::vector<ContactEvent> returning;            // of cards that wait for the next frame
    std::vector<ContactEvent> returned;             // of the frame before; kept for its memory
    std::unordered_set<std::uint64_t> doubledCodes; // warned of

    struct Source
    {
        bool isKnown = false;
        double lastSeen = 0.0;
    };
    std::vector<Source> sources;
    std::vector<LostSource> lost;

    double now = 0.0;
    double dt = 0.0;
    bool hasTime = false;
    Sample* sample = nullptr;

    explicit Private(const TrackerSettings& s) : settings(s)
    {
        fingers.reserve(kUsualContacts);
        markers.reserve(kUsualContacts);
        sightings.reserve(kUsualContacts);
        returning.reserve(kUsualContacts);
        returned.reserve(kUsualContacts);
    }

    [[nodiscard]] float pixels(float millimetres) const { return millimetres / std::max(settings.pixelPitchMm, 1e-3f); }

    void push(Change kind, const TrackedObject& object) { sample->changes.push_back({kind, object}); }

    template <class C>
    bool step(C& contact)
    {
        return contact.step(contact.bornAt < now ? dt : 0.0, settings);
    }

    // Fingers

    FingerContact* finger(const ContactKey& key)
    {
        const auto found = std::find_if(fingers.begin(), fingers.end(), [&key](const auto& f) { return f.key == key; });
        return found == fingers.end() ? nullptr : &*found;
    }

    [[nodiscard]] bool isShadow(Vecta::Vector2f point) const
    {
        const float radius = pixels(settings.markerOutlineRadiusMm);
        const auto isInside = [&](Vecta::Vector2f centre) { return (centre - point).lengthSquared() < radius * radius; };
        return std::any_of(markers.begin(), markers.end(), [&](const auto& m) { return isInside(m.target); })
            || std::any_of(coming.begin(), coming.end(), isInside);
    }

    void fingerAppears(const ContactEvent& event)
    {
        if (isShadow(event.position))
            return; // nothing knows its key, so what else is said of it is ignored too
        const TrackedObject object(TrackedObject::Type::Finger, ids.fresh(), event.position);
        fingers.emplace_back(object, event, now, settings);
        push(Change::Down, object);
    }

    void fingerEnds(FingerContact& contact, Change kind)
    {
        if (kind == Change::Up && step(contact))
            push(Change::Move, contact.object);
        push(kind, contact.object);
        fingers.erase(fingers.begin() + (&contact - fingers.data()));
    }

    // Markers

    Sighting* sighting(const ContactKey& key)
    {
        const auto found =
            std::find_if(sightings.begin(), sightings.end(), [&key](const Sighting& s) { return s.event.key == key; });
        return found == sightings.end() ? nullptr : &*found;
    }

    MarkerContact* marker(std::int64_t id)
    {
        const auto found = std::find_if(markers.begin(), markers.end(), [id](const auto& m) { return m.object.id() == id; });
        return found == markers.end() ? nullptr : &*found;
    }

    MarkerContact* nearest(std::uint64_t code, Vecta::Vector2f point, float within, bool heldOnly)
    {
        MarkerContact* best = nullptr;
        float bestDistance = within;
        for (MarkerContact& m : markers) {
            const float distance = (m.target - point).length();
            if (m.object.code() == code && (m.isHeld || !heldOnly) && distance <= bestDistance) {
                best = &m;
                bestDistance = distance;
            }
        }
        return best;
    }

    void markerAppears(const ContactEvent& event)
    {
        if (MarkerContact* same = nearest(event.code, event.position, pixels(settings.holdDistanceMm), false)) {
            sightings.push_back({event, same->object.id()});
            if (same->isHeld)
                lead(*same, event);
            return;
        }
        // Back, but elsewhere: it was lifted and put down again. It has its id again, so it comes one frame later: who looks
        // for the id in each frame would not see that the card was gone, and what lay open for it would be opened twice.
        MarkerContact* const lifted = nearest(event.code, event.position, std::numeric_limits<float>::max(), true);
        if (lifted)
            markerEnds(*lifted);
        if (lifted || isReturning(event.code))
            returning.push_back(event);
        else
            putDown(event);
    }

    [[nodiscard]] bool isReturning(std::uint64_t code) const
    {
        return std::any_of(returning.begin(), returning.end(), [code](const ContactEvent& e) { return e.code == code; });
    }
    [[nodiscard]] bool isReturning(const ContactKey& key) const
    {
        return std::any_of(returning.begin(), returning.end(), [&key](const ContactEvent& e) { return e.key == key; });
    }

    /// The cards that waited for this frame, with what was said of them meanwhile.
    void takeReturned()
    {
        returned.swap(returning);
        for (const ContactEvent& event : returned)
            take(event);
        returned.clear();
    }

    void putDown(const ContactEvent& event)
    {
        const auto twin =
            std::find_if(markers.begin(), markers.end(), [&event](const auto& m) { return m.object.code() == event.code; });
        if (twin != markers.end() && doubledCodes.size() < kMaxDoubledCodes && doubledCodes.insert(event.code).second)
            Bedrock::Trace::warning("ContactTracker::update # Marker %llu is on the table twice (at %.0f, %.0f and at "
                                    "%.0f, %.0f); the second is taken as another card, give each card a code of its own",
                                    static_cast<unsigned long long>(event.code), double(twin->target.x), double(twin->target.y),
                                    double(event.position.x), double(event.position.y));
        const std::int64_t id = ids.idFor(event.code, [this](std::int64_t i) { return marker(i) != nullptr; });
        const Marker object(id, event.code, event.position, event.rotationRadians);
        markers.emplace_back(object, event, now, settings);
        sightings.push_back({event, id});
        push(Change::Down, object);
    }

    static void lead(MarkerContact& contact, const ContactEvent& event)
    {
        contact.isHeld = false;
        contact.key = event.key;
        contact.aim(event);
    }

    void markerMoves(Sighting& seen, const ContactEvent& event)
    {
        seen.event = event;
        MarkerContact* contact = marker(seen.markerId);
        if (!contact)
            return;
        if (contact->key == event.key) {
            contact->aim(event);
        } else if ((contact->target - event.position).length() > pixels(settings.holdDistanceMm)) {
            // Two sightings that part were two cards.
            sightings.erase(sightings.begin() + (&seen - sightings.data()));
            putDown(event);
        }
    }

    void sightingEnds(Sighting& seen)
    {
        const Sighting ended = seen;
        sightings.erase(sightings.begin() + (&seen - sightings.data()));
        MarkerContact* contact = marker(ended.markerId);
        if (!contact || !(contact->key == ended.event.key))
            return;
        for (const Sighting& other : sightings)
            if (other.markerId == ended.markerId)
                return lead(*contact, other.event);
        contact->isHeld = true;
        contact->heldSince = now;
    }

    void markerEnds(MarkerContact& contact)
    {
        if (step(contact))
            push(Change::Move, contact.object);
        push(Change::Up, contact.object);
        markers.erase(markers.begin() + (&contact - markers.data()));
    }

    // Senders

    void seen(std::uint16_t index)
    {
        if (index >= sources.size())
            sources.resize(index + std::size_t(1));
        sources[index] = {true, now};
    }

    void loseSilentSources()
    {
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (!sources[i].isKnown || now - sources[i].lastSeen < settings.lostSenderSeconds - kTimeSlack)
                continue;
            sources[i].isKnown = false;
            const auto index = static_cast<std::uint16_t>(i);
            bool hadContacts = false;
            for (std::size_t f = fingers.size(); f-- > 0;) {
                if (fingers[f].key.source == index) {
                    fingerEnds(fingers[f], Change::Cancel);
                    hadContacts = true;
                }
            }
            for (std::size_t s = sightings.size(); s-- > 0;) {
                if (sightings[s].event.key.source == index) {
                    sightingEnds(sightings[s]);
                    hadContacts = true;
                }
            }
            lost.push_back({index, hadContacts});
        }
    }

    // The frame

    void take(const ContactEvent& event)
    {
        using Kind = ContactEvent::Kind;
        if (event.kind == Kind::Seen)
            return seen(event.key.source);
        if (event.type == TrackedObject::Type::Finger) {
            FingerContact* contact = finger(event.key);
            if (event.kind == Kind::Appear && !contact)
                fingerAppears(event);
            else if (event.kind == Kind::Move && contact)
                contact->aim(event);
            else if (event.kind == Kind::Vanish && contact)
                fingerEnds(*contact, Change::Up);
            else if (event.kind == Kind::Cancel && contact)
                fingerEnds(*contact, Change::Cancel);
            return;
        }
        if (isReturning(event.key)) {
            returning.push_back(event);
            return;
        }
        Sighting* known = sighting(event.key);
        if (event.kind == Kind::Appear && !known)
            markerAppears(event);
        else if (event.kind == Kind::Move && known)
            markerMoves(*known, event);
        else if ((event.kind == Kind::Vanish || event.kind == Kind::Cancel) && known)
            sightingEnds(*known);
    }

    void endHolds()
    {
        for (std::size_t i = 0; i < markers.size();) {
            if (markers[i].isHeld && now - markers[i].heldSince >= settings.holdSeconds - kTimeSlack)
                markerEnds(markers[i]);
            else
                ++i;
        }
    }

    void followAll()
    {
        for (FingerContact& f : fingers)
            if (step(f))
                push(Change::Move, f.object);
        for (MarkerContact& m : markers)
            if (step(m))
                push(Change::Move, m.object);
    }
};

ContactTracker::ContactTracker(const TrackerSettings& settings) : d(std::make_unique<Private>(settings)) {}
ContactTracker::~ContactTracker() = default;

void ContactTracker::update(double nowSeconds, const std::vector<ContactEvent>& events, Sample& sample)
{
    sample.clear();
    d->sample = &sample;
    d->dt = d->hasTime ? nowSeconds - d->now : 0.0;
    d->now = nowSeconds;
    d->hasTime = true;
    d->lost.clear();
    d->coming.clear();
    for (const ContactEvent& event : events)
        if (event.kind == ContactEvent::Kind::Appear && event.type == TrackedObject::Type::Marker)
            d->coming.push_back(event.position);

    d->takeReturned();
    for (const ContactEvent& event : events)
        d->take(event);
    d->loseSilentSources();
    d->endHolds();
    d->followAll();

    for (const FingerContact& f : d->fingers)
        sample.fingers.push_back(f.object);
    for (const MarkerContact& m : d->markers)
        sample.markers.push_back(m.object);
    d->sample = nullptr;
}

const std::vector<ContactTracker::LostSource>& ContactTracker::lostSources() const noexcept
{
    return d->lost;
}
}
