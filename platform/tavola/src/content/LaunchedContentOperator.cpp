#include <Tavola/LaunchedContentOperator.hpp>

#include "shared/TableGeometry.hpp"

#include <Tavola/DocumentWidget.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/ImageWidget.hpp>

#include <algorithm>

namespace Tavola
{
namespace
{
constexpr float kSmallest = 0.05f;
/// Draws nothing, and still counts as visible: a wholly transparent widget takes neither fingers nor cards.
constexpr float kUnseen = 0.001f;

/// Fast at first, slow at the end.
float eased(float progress)
{
    const float rest = 1.f - progress;
    return 1.f - rest * rest * rest;
}

/// Whether the widget is as large as it will be. Around a picture that is still being read stands the frame of its padding.
bool isSizeKnown(const Trellis::Widget& widget)
{
    if (const auto* picture = dynamic_cast<const Trellis::ImageWidget*>(&widget); picture && !picture->source().isEmpty())
        return picture->isLoaded() || picture->hasFailed();
    if (const auto* document = dynamic_cast<const DocumentWidget*>(&widget))
        return document->isLoaded() || document->hasPseudoClass("failed");
    const Vecta::Vector2T<float> size = widget.size();
    return size.x > 0.f && size.y > 0.f;
}
}

LaunchedContentOperator::LaunchedContentOperator(bool relative, Vecta::Vector2T<float> point, float durationSeconds)
    : m_relative(relative), m_launchedAt(point), m_point(point), m_durationSeconds(durationSeconds)
{
    setCSSType("LaunchedContentOperator");
}

void LaunchedContentOperator::added(Trellis::Widget& widget)
{
    m_scaleAtEnd = widget.scale();
    m_rotationAtStart = widget.rotation();
    m_offset = widget.location();
    standAtFullSize(widget);
}

void LaunchedContentOperator::removed(Trellis::Widget& widget)
{
    // Removed while the widget was opening: it goes to the end of the opening at once.
    place(widget, 1.f);
}

void LaunchedContentOperator::update(Trellis::Widget& widget, const Trellis::FrameInfo& frame)
{
    m_elapsedSeconds += frame.dt();
    const float progress = m_durationSeconds > 0.f ? std::min(1.f, m_elapsedSeconds / m_durationSeconds) : 1.f;
    if (m_stage == Stage::Launched) {
        // How the widget was turned while it was made ready, in the frame of its launch, is not a turn of the opening.
        m_rotationAtStart = widget.rotation();
        m_stage = Stage::Opening;
        if (progress < 1.f) {
            standAtFullSize(widget);
            showAfterUpdate(widget, progress);
            return;
        }
    }
    place(widget, progress);
    if (progress >= 1.f && (m_relative || m_isGrabbed || isSizeKnown(widget) || m_elapsedSeconds >= kLongestWaitSeconds))
        setDone();
}

void LaunchedContentOperator::standAtFullSize(Trellis::Widget& widget)
{
    place(widget, 1.f);
    widget.setOpacity(kUnseen);
}

void LaunchedContentOperator::showAfterUpdate(Trellis::Widget& widget, float progress)
{
    const Bedrock::IntrusiveWeakPtr<Trellis::Widget> opened(&widget);
    const Bedrock::IntrusiveWeakPtr<LaunchedContentOperator> weak(this);
    invokeAfterUpdate([opened, weak, progress] {
        const auto target = opened.lock();
        const auto self = weak.lock();
        if (!target || !self)
            return;
        const auto& operators = target->operators();
        if (std::none_of(operators.begin(), operators.end(), [&self](const auto& one) { return one.get() == self.get(); }))
            return;
        self->place(*target, progress);
        if (!self->m_relative && !self->m_isGrabbed)
            target->setCenterLocation(self->m_launchedAt);
    });
}

void LaunchedContentOperator::place(Trellis::Widget& widget, float progress)
{
    const float grown = eased(progress);
    const float scale = m_scaleAtEnd * std::max(kSmallest, grown);
    m_isGrabbed = m_isGrabbed || widget.isHeld();
    if (m_isGrabbed) {
        const Vecta::Vector2T<float> center = widget.centerLocation();
        widget.setScale(scale);
        widget.setCenterLocation(center);
    } else if (m_relative) {
        widget.setScale(scale);
        widget.setLocation(m_point + m_offset.rotated(widget.rotation() - m_rotationAtStart) * grown);
    } else {
        // By the centre as it is now: a picture may get its size while it opens.
        widget.setScale(scale);
        const bool isKept = m_keepsOnTable && widget.parent();
        const Vecta::Vector2f end = isKept ? centerOnTable(widget, m_scaleAtEnd, *widget.parent(), m_point) : m_point;
        widget.setCenterLocation(m_launchedAt + (end - m_launchedAt) * grown);
    }
    if (progress < 1.f)
        widget.setOpacity(grown);
    else if (auto* opacity = widget.attribute("opacity"))
        opacity->clearValue(Facet::kUserLayer);
}
}
