#pragma once

#include <Trellis/Operator.hpp>

#include <Vecta/Vector2T.hpp>

namespace Tavola
{
/// Opens content that was launched at a point: it grows out of the point to its own size, fading in. Done after its duration.
/// Main thread.
///
/// Points are in the coordinates of the widget's parent. Relative content ends with its styled location taken as an offset from
/// the point (turned with the widget, so that a widget that is turned meanwhile ends where the turn takes it); other content
/// ends with its centre at the point: content whose size is not known yet (a picture that is being read) is waited for, up to
/// `kLongestWaitSeconds`. A finger that takes the widget meanwhile has it from then on: it grows, and is not moved.
class TAVOLA_EXPORT LaunchedContentOperator final : public Trellis::Operator
{
public:
    static constexpr float kLongestWaitSeconds = 5.f;

    /// `durationSeconds` of 0 or less opens in the next frame.
    LaunchedContentOperator(bool relative, Vecta::Vector2T<float> point, float durationSeconds);

    /// Moves the point while the widget opens, so that the opening ends at the moved place.
    void setRelativeLocation(Vecta::Vector2T<float> point) noexcept { m_point = point; }

    /// Content that is not relative ends inside the table's edge, as near to the point as it can.
    void keepOnTable() noexcept { m_keepsOnTable = true; }

    [[nodiscard]] Vecta::Vector2T<float> point() const noexcept { return m_point; }
    /// The scale that the widget grows to.
    [[nodiscard]] float scaleAtEnd() const noexcept { return m_scaleAtEnd; }

    void added(Trellis::Widget& widget) override;
    void removed(Trellis::Widget& widget) override;
    void update(Trellis::Widget& widget, const Trellis::FrameInfo& frame) override;

private:
    void place(Trellis::Widget& widget, float progress);

    bool m_relative;
    bool m_keepsOnTable = false;
    bool m_isTaken = false; ///< by a finger
    Vecta::Vector2T<float> m_point;
    float m_durationSeconds;
    float m_elapsedSeconds = 0.f;
    Vecta::Vector2T<float> m_offset; ///< of relative content: from the point to the location, at the rotation below
    float m_rotationAtStart = 0.f;
    float m_scaleAtEnd = 1.f;
};
}
