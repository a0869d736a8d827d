#pragma once

#include <Tactile/SurfaceArea.hpp>
#include <Trellis/Widget.hpp>

#include <functional>
#include <vector>

namespace Host
{
/// Draws the contacts on the table, for setting it up: a ring around each finger with its id; a larger one around each card, with
/// a line towards the card's upper edge, its id and its code; the outline of each area whose contacts are ignored. Receives no
/// input. A child of the internal overlay; without contacts and areas it draws nothing.
class InputOverlay final : public Trellis::Widget
{
public:
    using Areas = std::vector<Tactile::SurfaceArea>;

    /// `pixelPitchMm` scales the rings to the size of fingers and cards. `ignoredAreas` returns the areas in table pixels and is
    /// called in each frame, since a replay has them from its first frame on only; none without it.
    explicit InputOverlay(float pixelPitchMm, std::function<Areas()> ignoredAreas = {});
    ~InputOverlay() override;

    void update(const Trellis::FrameInfo& frame) override;

private:
    class Mark;
    class AreaMark;

    void showAreas();
    void show(const Tactile::TrackedObject& object);

    float m_pixelPitchMm;
    std::function<Areas()> m_ignoredAreas;
    Areas m_areas;                     // shown
    std::vector<AreaMark*> m_outlines; // children, one for each area
    std::vector<Mark*> m_marks;        // children
};
}
