#pragma once

#include <Tactile/TrackedObject.hpp>

#include <cstdint>

namespace Tactile
{
/// The sender's name for a contact. Valid until the contact vanishes.
struct ContactKey
{
    std::uint16_t source = 0; ///< index of the sender
    std::uint8_t channel = 0; ///< session ids are unique within one
    std::int32_t session = 0;

    friend bool operator==(const ContactKey& a, const ContactKey& b) noexcept
    {
        return a.source == b.source && a.channel == b.channel && a.session == b.session;
    }
};

/// A sender's report of one contact, independent of the protocol: decoders write these, the ContactTracker reads them.
struct ContactEvent
{
    enum class Kind : std::uint8_t {
        Seen,   ///< a packet of the sender arrived; only `key.source` is set
        Appear, ///< a contact has its first position
        Move,   ///< a new position
        Vanish, ///< the sender reports it no more
        Cancel  ///< it belonged to a former run of the sender: must have no effect
    };
    Kind kind = Kind::Seen;
    TrackedObject::Type type = TrackedObject::Type::Finger;
    std::uint16_t listener = 0; ///< which datagram source it came through
    ContactKey key;
    Vecta::Vector2f position; ///< 0 to 1 of the surface; scene pixels once the input has mapped it
    float rotationRadians = 0.f;
    std::uint64_t code = 0;
    bool isInIgnoredArea = false; ///< of Appear; set by the input, when it maps the position
};
}
