#pragma once

#include <Vecta/Rect.hpp>
#include <Vecta/Vector2T.hpp>

#include <cstddef>
#include <vector>

namespace Trellis
{
struct Outline;

/// Few rectangles of a scene that cover whatever was added, may overlap, and cover little else. Allocates nothing once it was
/// made. Main thread only.
class DamageAreas
{
public:
    DamageAreas();

    /// What lies outside of `scene` counts for nothing from now on. Nothing is covered any more.
    void setScene(const Vecta::Rect& scene);
    /// What is empty, or has places that are no numbers, is ignored.
    void add(const Vecta::Rect& area);
    /// What was inside of one outline is inside of another now. Around turned ones that are large the corners in which nothing of
    /// them shows stay out. `edge`: what is drawn reaches so far beyond them in each direction.
    void addMove(const Outline& before, const Outline& now, Vecta::Vector2f edge);
    /// Many that leave little out between them become one. To be called when all of a frame were added.
    void joinMany();

    [[nodiscard]] const std::vector<Vecta::Rect>& all() const noexcept { return m_areas; }
    void clear() noexcept { m_areas.clear(); }

    static constexpr std::size_t kMost = 32;

private:
    void addBoth(const Vecta::Rect& before, const Vecta::Rect& now);

    std::vector<Vecta::Rect> m_areas;
    Vecta::Rect m_scene;
};
}
