#include <Tactile/Marker.hpp>

#include <cassert>
#include <cmath>

namespace Tactile
{
Marker::Marker(std::int64_t id, std::uint64_t code, Vecta::Vector2f centerLocation, float rotationRadians)
    : TrackedObject(Type::Marker, id, centerLocation)
{
    m_code = code;
    setRotation(rotationRadians);
}

Marker::Marker(const TrackedObject& object) : TrackedObject(object)
{
    assert(object.isMarker() && "a Marker can only be made from a tracked object that is one");
}

void Marker::setRotation(float radians) noexcept
{
    constexpr float kTurn = 6.28318530717958647692f;
    float wrapped = std::fmod(radians, kTurn);
    if (wrapped < 0.f)
        wrapped += kTurn;
    // A tiny negative angle rounds up to a whole turn.
    m_rotationRadians = wrapped < kTurn ? wrapped : 0.f;
}
}
