#pragma once

#include <Trellis/Operator.hpp>

#include <Vecta/Vector2T.hpp>

namespace Tavola
{
/// Opens content that was launched at a point: it grows out of the point to its own size, fading in. Done after its duration.
/// Main thread.
///
/// During the updates of its first frame the widget stands, invisible, at its full size in the place where it ends, so that a
/// widget that inspects its surroundings in its first `update` finds them as they will be; the opening shows from the end of that
/// frame on.
///
/// Points are in the coordinates of the widget's parent. Relative content ends with its styled location taken as an offset from
/// the point, and the offset turns with the widget. Other content has its centre at the point in its first frame and glides to
/// where it ends; the operator waits up to `kLongestWaitSeconds` for a size that is not known yet, as of a picture that is being
/// read. A widget that a finger grabs meanwhile grows on, and is no longer moved.
class TAVOLA_EXPORT LaunchedContentOperator final : public Trellis::Operator
{
public:
    static constexpr float kLongestWaitSeconds = 5.f;

    /// `durationSeconds` of 0 or less opens in the next frame.
    LaunchedContentOperator(bool relative, Vecta::Vector2T<float> point, float durationSeconds);

    /// Moves the whole opening to another point while the widget opens, so that it ends at the moved place.
    void setRelativeLocation(Vecta::Vector2T<float> point) noexcept
    {
        m_launchedAt += point - m_point;
        m_point = point;
    }

    /// Lets content that is not relative end elsewhere: it still opens out of the point of the launch.
    void endAt(Vecta::Vector2T<float> point) noexcept { m_point = point; }

    /// Content that is not relative ends inside the table's edge, as near to the point as it can.
    void keepOnTable() noexcept { m_keepsOnTable = true; }

    /// Opens in the next update, whatever the duration was.
    void openAtOnce() noexcept { m_durationSeconds = 0.f; }

    [[nodiscard]] Vecta::Vector2T<float> point() const noexcept { return m_point; }
    /// The scale that the widget grows to.
    [[nodiscard]] float scaleAtEnd() const noexcept { return m_scaleAtEnd; }

    void added(Trellis::Widget& widget) override;
    void removed(Trellis::Widget& widget) override;
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    enum class Stage {
        Launched, ///< not updated yet
        Opening
    };

    void place(Trellis::Widget& widget, float progress);
    void standAtFullSize(Trellis::Widget& widget);
    /// Shows the opening once all updates of this frame have found the widget at its full size.
    void showAfterUpdate(Trellis::Widget& widget, float progress);

    bool m_relative;
    bool m_keepsOnTable = false;
    bool m_isGrabbed = false; ///< grabbed by a finger since the launch
    Stage m_stage = Stage::Launched;
    Vecta::Vector2T<float> m_launchedAt; ///< the point of the launch
    Vecta::Vector2T<float> m_point;
    float m_durationSeconds;
    float m_elapsedSeconds = 0.f;
    Vecta::Vector2T<float> m_offset; ///< of relative content: from the point to the location, at the rotation below
    float m_rotationAtStart = 0.f;
    float m_scaleAtEnd = 1.f;
};
}
