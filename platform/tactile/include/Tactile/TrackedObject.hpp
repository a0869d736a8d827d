#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstdint>

namespace Tactile
{
/// Something that touches the table: a finger or a printed marker. A value; copies do not follow the object.
class TAVOLA_EXPORT TrackedObject
{
public:
    enum class Type { Finger, Marker };

    TrackedObject() = default;
    TrackedObject(Type type, std::int64_t id, Vecta::Vector2f centerLocation)
        : m_type(type), m_id(id), m_centerLocation(centerLocation)
    {
    }

    [[nodiscard]] Type type() const noexcept { return m_type; }
    [[nodiscard]] bool isMarker() const noexcept { return m_type == Type::Marker; }
    [[nodiscard]] bool isFinger() const noexcept { return m_type == Type::Finger; }
    /// Identity on the table, positive. A finger has a new one at each touch; a marker keeps its id while the same code
    /// comes back (also after it was lifted), so that what was opened for it is found again.
    [[nodiscard]] std::int64_t id() const noexcept { return m_id; }
    /// Scene coordinates: pixels, origin at the table's top left corner.
    [[nodiscard]] Vecta::Vector2f centerLocation() const noexcept { return m_centerLocation; }

    /// Markers only; 0 for a finger. The code printed on the card.
    [[nodiscard]] std::uint64_t code() const noexcept { return m_code; }
    /// Markers only; 0 for a finger. Radians in [0, 2π), clockwise on the screen.
    [[nodiscard]] float rotation() const noexcept { return m_rotationRadians; }

    void setCenterLocation(Vecta::Vector2f location) noexcept { m_centerLocation = location; }

protected:
    Type m_type = Type::Finger;
    std::int64_t m_id = 0;
    Vecta::Vector2f m_centerLocation;
    std::uint64_t m_code = 0;
    float m_rotationRadians = 0.f;
};
}
