#pragma once

#include <Tactile/TrackedObject.hpp>

namespace Tactile
{
/// A printed card with a fiducial on the table. A value, as every tracked object.
class TAVOLA_EXPORT Marker : public TrackedObject
{
public:
    /// `rotationRadians` is wrapped into [0, 2π).
    Marker(std::int64_t id, std::uint64_t code, Vecta::Vector2f centerLocation, float rotationRadians = 0.f);
    /// The marker that `object` is. `object.isMarker()` must hold (asserted).
    explicit Marker(const TrackedObject& object);

    void setRotation(float radians) noexcept;
};
}
