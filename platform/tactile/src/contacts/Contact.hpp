#pragma once

#include <Tactile/ContactEvent.hpp>
#include <Tactile/ContactTracker.hpp>
#include <Tactile/Marker.hpp>
#include <Tactile/OneEuroFilter.hpp>
#include <Vecta/Angle.hpp>

#include <cmath>

namespace Tactile
{
/// One finger or card: `object` is what is reported, `target` what the sender reported last. The object follows the target
/// through filters until both agree.
template <class Object>
struct Contact
{
    Object object;
    ContactKey key;
    Vecta::Vector2f target;
    float targetAngle = 0.f;
    double bornAt = 0.0;
    bool isSettled = true;
    OneEuroFilter position;
    OneEuroFilter direction; // of (cos, sin)

    Contact(const Object& o, const ContactEvent& event, double now, const TrackerSettings& settings)
        : object(o), key(event.key), target(event.position), targetAngle(event.rotationRadians), bornAt(now),
          position(settings.positionFilter), direction(settings.rotationFilter)
    {
        rest();
    }

    void aim(const ContactEvent& event)
    {
        target = event.position;
        targetAngle = event.rotationRadians;
        isSettled = false;
    }

    /// One frame nearer to the target; true when what is reported changed.
    bool step(double dtSeconds, const TrackerSettings& settings)
    {
        if (isSettled)
            return false;
        constexpr float kNearPx = 0.05f;
        constexpr float kNearRadians = 0.0005f;
        const double dt = settings.smoothing ? dtSeconds : 0.0;
        Vecta::Vector2f place = position.filter(target, dt);
        const Vecta::Vector2f turned = direction.filter({std::cos(targetAngle), std::sin(targetAngle)}, dt);
        // A half turn within a frame may leave no direction at all.
        float angle = turned.length() > 1e-3f ? std::atan2(turned.y, turned.x) : targetAngle;
        if ((place - target).length() < kNearPx && std::abs(Vecta::shortestTurn(targetAngle, angle)) < kNearRadians) {
            place = target;
            angle = targetAngle;
            rest();
        }
        const float quiet = settings.smoothing ? settings.quietDistancePx : 0.f;
        const float quietTurn = settings.smoothing ? settings.quietRadians : 0.f;
        if ((place - object.centerLocation()).length() <= quiet
            && std::abs(Vecta::shortestTurn(object.rotation(), angle)) <= quietTurn)
            return false;
        object.setCenterLocation(place);
        setAngle(object, angle);
        return true;
    }

private:
    void rest()
    {
        isSettled = true;
        position.reset(target);
        direction.reset({std::cos(targetAngle), std::sin(targetAngle)});
    }
    static void setAngle(TrackedObject&, float) {}
    static void setAngle(Marker& marker, float radians) { marker.setRotation(radians); }
};

using FingerContact = Contact<TrackedObject>;

/// A card with a sighting, or held without one until it is back or the hold is over.
struct MarkerContact : Contact<Marker>
{
    using Contact::Contact;
    bool isHeld = false;
    double heldSince = 0.0;
};

/// A sender's view of a card. A card may have several sightings; it follows the one that has its key.
struct Sighting
{
    ContactEvent event; // the last
    std::int64_t markerId = 0;
};
}
