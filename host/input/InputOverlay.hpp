#pragma once

#include <Trellis/Widget.hpp>

#include <vector>

namespace Host
{
/// Draws what lies on the table, for those who set it up: a ring round each finger with its id; a larger one round each
/// card, with a line that points where the card's upper edge does, its id and its code. Takes no input. Lies in the
/// internal overlay; a table without contacts draws nothing.
class InputOverlay final : public Trellis::Widget
{
public:
    /// `pixelPitchMm`: so that the rings are as large as what they show.
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
