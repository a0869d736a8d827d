#include "components/TemporaryWidgets.hpp"

#include <Tavola/Utils.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/Widget.hpp>

namespace Host
{
namespace
{
/// A second more or less does not matter; between two checks a frame costs one addition.
constexpr float kCheckIntervalSeconds = 1.f;
constexpr float kFadeSeconds = 0.6f;
}

TemporaryWidgets::TemporaryWidgets(float closeAfterSeconds) : m_closeAfterSeconds(closeAfterSeconds) {}

void TemporaryWidgets::update(Trellis::Widget& widget, const Trellis::FrameInfo& frame)
{
    m_sinceLastLook += frame.dt();
    if (m_sinceLastLook < kCheckIntervalSeconds)
        return;
    m_sinceLastLook = 0.f;
    const QByteArray temporary = Tavola::Utils::temporaryWidgetCSSClass();
    for (const auto& child : widget.children())
        if (child->idleSeconds() >= double(m_closeAfterSeconds) && child->hasCSSClass(temporary)
            && !Trellis::FadeAnimator::isFadingOut(*child))
            Trellis::FadeAnimator::fadeOutAndDelete(*child, kFadeSeconds, 0.f);
}
}
