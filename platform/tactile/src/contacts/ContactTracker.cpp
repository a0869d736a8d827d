#include <Tactile/ContactTracker.hpp>

#include "contacts/FingerContacts.hpp"
#include "contacts/MarkerContacts.hpp"
#include "contacts/TrackerFrame.hpp"

#include <Tactile/Sample.hpp>

namespace Tactile
{
struct ContactTracker::Private
{
    TrackerFrame frame;
    FingerContacts fingers{frame};
    MarkerContacts markers{frame};

    struct Source
    {
        bool isKnown = false;
        double lastSeen = 0.0;
    };
    std::vector<Source> sources;
    std::vector<LostSource> lost;
    bool hasTime = false;

    explicit Private(const TrackerSettings& settings) : frame(settings) {}

    void apply(const ContactEvent& event)
    {
        if (event.kind == ContactEvent::Kind::Seen)
            seen(event.key.source);
        else if (event.type == TrackedObject::Type::Finger)
            fingers.apply(event, [this](Vecta::Vector2f point) { return markers.isInOutline(point); });
        else
            markers.apply(event);
    }

    void seen(std::uint16_t index)
    {
        if (index >= sources.size())
            sources.resize(index + std::size_t(1));
        sources[index] = {true, frame.now};
    }

    void loseSilentSources()
    {
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (!sources[i].isKnown || frame.now - sources[i].lastSeen < frame.settings.lostSenderSeconds - kTimeSlack)
                continue;
            sources[i].isKnown = false;
            const auto index = static_cast<std::uint16_t>(i);
            const bool hadFingers = fingers.cancelAll(index);
            const bool hadSightings = markers.endSightings(index);
            lost.push_back({index, hadFingers || hadSightings});
        }
    }
};

ContactTracker::ContactTracker(const TrackerSettings& settings) : d(std::make_unique<Private>(settings)) {}
ContactTracker::~ContactTracker() = default;

void ContactTracker::update(double nowSeconds, const std::vector<ContactEvent>& events, Sample& sample)
{
    sample.clear();
    d->frame.sample = &sample;
    d->frame.dt = d->hasTime ? nowSeconds - d->frame.now : 0.0;
    d->frame.now = nowSeconds;
    d->hasTime = true;
    d->lost.clear();

    d->markers.beginFrame(events);
    for (const ContactEvent& event : events)
        d->apply(event);
    d->loseSilentSources();
    d->markers.endHolds();
    d->fingers.followAll();
    d->markers.followAll();

    d->fingers.writeTo(sample);
    d->markers.writeTo(sample);
    d->frame.sample = nullptr;
}

const std::vector<ContactTracker::LostSource>& ContactTracker::lostSources() const noexcept
{
    return d->lost;
}
}
