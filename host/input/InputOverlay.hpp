#pragma once

#include <Trellis/Widget.hpp>

#include <vector>

namespace Host
{
/// Draws the contacts on the table, for setting it up: a ring around each finger with its id; a larger one around each card, with
/// a line towards the card's upper edge, its id and its code. Receives no input. A child of the internal overlay; without
/// contacts it draws nothing.
class InputOverlay final : public Trellis::Widget
{
public:
    /// `pixelPitchMm` scales the rings to the size of fingers and cards.
    explicit InputOverlay(float pixelPitchMm);
    ~InputOverlay() override;

    void update(const Trellis::FrameInfo& frame) override;

private:
    class Mark;

    void show(const Tactile::TrackedObject& object);

    float m_pixelPitchMm;
    std::vector<Mark*> m_marks; // children
};
}
