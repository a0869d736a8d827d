#pragma once

#include <Tactile/ContactEvent.hpp>
#include <Tactile/ContactTracker.hpp>
#include <Tactile/Marker.hpp>
#include <Tactile/OneEuroFilter.hpp>

#include <cmath>

namespace Tactile
{
/// The difference of two angles by the shortest arc, in [−π, π].
inline float angleDifference(float a, float b) noexcept
{
    return std::remainder(a - b, 6.28318530717958647692f);
}

/// One thing on the table, between what its sender says of it (the target) and what is reported (the object). It follows
/// the target through its filter until both agree.
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
        if ((place - target).length() < kNearPx && std::abs(angleDifference(angle, targetAngle)) < kNearRadians) {
            place = target;
            angle = targetAngle;
            rest();
        }
        const float quiet = settings.smoothing ? settings.quietDistancePx : 0.f;
        const float quietTurn = settings.smoothing ? settings.quietRadians : 0.f;
        if ((place - object.centerLocation()).length() <= quiet
            && std::abs(angleDifference(angle, object.rotation())) <= quietTurn)
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

/// On the table: `isHeld` is false and some sighting shows it. Held: no sighting, until it is back or `heldSince` is long ago.
struct MarkerContact : Contact<Marker>
{
    using Contact::Contact;
    bool isHeld = false;
    double heldSince = 0.0;
};

/// A sender's view of a card. Two of them may show the same card; the one whose key the contact has leads it.
struct Sighting
{
    ContactEvent event; // the last
    std::int64_t markerId = 0;
};
}
