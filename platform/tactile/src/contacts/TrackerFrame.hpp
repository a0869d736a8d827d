#pragma once

#include "contacts/Contact.hpp"
#include "contacts/MarkerIds.hpp"

#include <Tactile/ContactTracker.hpp>
#include <Tactile/Sample.hpp>

#include <algorithm>

namespace Tactile
{
/// Frame times are sums of steps, and ten tenths are not quite one: durations are compared with this slack, in seconds.
constexpr double kTimeSlack = 1e-6;

/// What FingerContacts and MarkerContacts share: settings, ids, and the frame in hand.
struct TrackerFrame
{
    const TrackerSettings settings;
    MarkerIds ids;
    double now = 0.0;
    double dt = 0.0;
    Sample* sample = nullptr; ///< during an update

    explicit TrackerFrame(const TrackerSettings& s) : settings(s) {}

    [[nodiscard]] float pixels(float millimetres) const { return millimetres / std::max(settings.pixelPitchMm, 1e-3f); }

    void push(InputChange::Kind kind, const TrackedObject& object) { sample->changes.push_back({kind, object}); }

    /// Moves the contact one frame nearer to its target, and reports it when that changed its object.
    template <class C>
    void follow(C& contact)
    {
        if (contact.step(contact.bornAt < now ? dt : 0.0, settings))
            push(InputChange::Kind::Move, contact.object);
    }
};
}
