#include <Tavola/LaunchedContentOperator.hpp>

#include <Trellis/FrameInfo.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>

namespace Tavola
{
namespace
{
constexpr float kSmallest = 0.05f;

/// Fast at first, slow at the end.
float eased(float progress)
{
    const float rest = 1.f - progress;
    return 1.f - rest * rest * rest;
}
}

LaunchedContentOperator::LaunchedContentOperator(bool relative, Vecta::Vector2T<float> point, float durationSeconds)
    : m_relative(relative), m_point(point), m_durationSeconds(durationSeconds)
{
    setCSSType("LaunchedContentOperator");
}

void LaunchedContentOperator::added(Trellis::Widget& widget)
{
    m_scaleAtEnd = widget.scale();
    m_rotationAtStart = widget.rotation();
    // Without an offset of its own the widget is put so that its centre is at the point.
    m_offset = m_relative ? widget.location() : widget.location() - widget.centerLocation();
    place(widget, 0.f);
}

void LaunchedContentOperator::removed(Trellis::Widget& widget)
{
    // Taken away while the widget was opening: it stays where it is going.
    place(widget, 1.f);
}

void LaunchedContentOperator::update(Trellis::Widget& widget, const Trellis::FrameInfo& frame)
{
    m_elapsedSeconds += frame.dt();
    const float progress = m_durationSeconds > 0.f ? std::min(1.f, m_elapsedSeconds / m_durationSeconds) : 1.f;
    if (progress >= 1.f)
        setDone();
    place(widget, progress);
}

void LaunchedContentOperator::place(Trellis::Widget& widget, float progress) const
{
    const float grown = eased(progress);
    const Vecta::Vector2T<float> offset = m_offset.rotated(widget.rotation() - m_rotationAtStart);
    widget.setScale(m_scaleAtEnd * std::max(kSmallest, grown));
    widget.setLocation(m_point + offset * grown);
    if (progress < 1.f)
        widget.setOpacity(grown);
    else if (auto* opacity = widget.attribute("opacity"))
        opacity->clearValue(Facet::kUserLayer);
}
}
