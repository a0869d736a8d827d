#include "care/CloseHandle.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
constexpr float kTurn = float(Vecta::kTwoPi);
constexpr float kTop = -kTurn / 4.f;
constexpr float kStroke = 0.09f;    ///< of the handle's side
constexpr float kCrossPart = 0.46f; ///< of the handle's side
constexpr float kStep = 1.f / 60.f; ///< of the ring: it is drawn anew four times a second
}

Bedrock::IntrusivePtr<CloseHandle> CloseHandle::addTo(Trellis::Widget& parent)
{
    const Bedrock::IntrusivePtr<CloseHandle> handle(new CloseHandle(parent));
    handle->postConstruct();
    return handle;
}

CloseHandle::CloseHandle(Trellis::Widget& parent) : Trellis::Widget(&parent)
{
    setCSSType("CloseHandle");
    setHoldsFingers(true);
    eventAddListener("single-tap", [this] {
        if (Trellis::Widget* const closed = this->parent())
            if (!Trellis::FadeAnimator::isFadingOut(*closed))
                Trellis::FadeAnimator::fadeOutAndDelete(*closed, kFadeSeconds, 0.f);
    });
}

void CloseHandle::setRemaining(float part)
{
    const float shown = part < 0.f ? -1.f : std::ceil(std::min(part, 1.f) / kStep) * kStep;
    if (shown == m_remaining)
        return;
    m_remaining = shown;
    requestRedraw();
}

void CloseHandle::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    const float side = std::min(width(), height());
    const float stroke = side * kStroke;
    const float length = side * kCrossPart;
    const Vecta::Vector2f middle = size() / 2.f;
    const Lantern::Style cross = Lantern::Style().setFill(m_crossColor.value().premultiplied());
    for (const float angle : {kTurn / 8.f, -kTurn / 8.f}) {
        context.pushTransform(Vecta::Transform::translation(middle) * Vecta::Transform::rotation(angle));
        context.drawRect({-length / 2.f, -stroke / 2.f, length, stroke}, stroke / 2.f, cross);
        context.pop();
    }
    if (m_remaining >= 0.f)
        context.drawArc(middle, (side - stroke) / 2.f, kTop, kTop + kTurn * m_remaining,
                        Lantern::Style().setNoFill().setStroke(m_ringColor.value().premultiplied(), stroke));
}
}
