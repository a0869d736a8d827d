#pragma once

#include <Tactile/TrackedObject.hpp>

#include <cstdint>

namespace Tactile
{
/// Names a contact as its sender does. Meaningful until the sender takes it away.
struct ContactKey
{
    std::uint16_t source = 0; ///< index of the sender
    std::uint8_t channel = 0; ///< the sender numbers each kind of contact for itself
    std::int32_t session = 0;

    friend bool operator==(const ContactKey& a, const ContactKey& b) noexcept
    {
        return a.source == b.source && a.channel == b.channel && a.session == b.session;
    }
};

/// What a sender reports of one contact, free of any protocol: decoders write these, the ContactTracker reads them.
struct ContactEvent
{
    enum class Kind : std::uint8_t {
        Seen,   ///< the sender lives; only `key.source` is set
        Appear, ///< a contact has its first position
        Move,   ///< a new position
        Vanish, ///< the sender took it away
        Cancel  ///< it belonged to a former run of the sender: what it did is void
    };
    Kind kind = Kind::Seen;
    TrackedObject::Type type = TrackedObject::Type::Finger;
    std::uint16_t listener = 0; ///< which datagram source it came through
    ContactKey key;
    Vecta::Vector2f position; ///< 0 to 1 of the surface; scene pixels once the input has mapped it
    float rotationRadians = 0.f;
    std::uint64_t code = 0;
};
}
