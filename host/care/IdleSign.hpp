#pragma once

namespace Tactile
{
struct Sample;
}
namespace Trellis
{
class Widget;
}

namespace Host
{
/// Gives the root of the table the pseudo-class "idle" when nothing is open and neither a finger nor a card has come or gone for
/// some seconds of frame time. It is gone in the frame of the next touch or card. A card that lies on the table does not count.
/// Main thread only.
class IdleSign
{
public:
    explicit IdleSign(float afterSeconds) : m_afterSeconds(afterSeconds) {}

    /// Once a frame, after the input.
    void update(Trellis::Widget& root, const Tactile::Sample& sample, bool isAnyOpen, float dtSeconds);
    /// Since the table was used last; 0 while anything is open.
    [[nodiscard]] float unusedSeconds() const noexcept { return m_unusedSeconds; }

private:
    float m_afterSeconds;
    float m_unusedSeconds = 0.f;
};
}
