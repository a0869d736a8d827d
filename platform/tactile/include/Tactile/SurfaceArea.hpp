#pragma once

#include <Bedrock/Export.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <vector>

namespace Tactile
{
/// A part of a tracker's surface, such as the light of a lamp on it: a polygon, its edges included. Coordinates are 0 to 1 of
/// the surface, as the tracker sends them, with the origin at the upper left. A plain value; any thread.
struct TAVOLA_EXPORT SurfaceArea
{
    std::vector<Vecta::Vector2f> corners; ///< in order; with fewer than three it contains nothing

    [[nodiscard]] static SurfaceArea ofRect(const Vecta::Rect& rect);
    /// Where its edges cross, a point is inside when a line from it outwards meets an odd number of edges.
    [[nodiscard]] bool contains(Vecta::Vector2f point) const noexcept;

    friend bool operator==(const SurfaceArea& a, const SurfaceArea& b) { return a.corners == b.corners; }
    friend bool operator!=(const SurfaceArea& a, const SurfaceArea& b) { return !(a == b); }
};
}
