#include <Tactile/Marker.hpp>

#include <Vecta/Angle.hpp>

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
    const float wrapped = Vecta::wrappedAngle(radians);
    m_rotationRadians = std::isfinite(wrapped) ? wrapped : 0.f;
}
}
