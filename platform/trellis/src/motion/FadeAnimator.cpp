#include <Trellis/FadeAnimator.hpp>

#include "tree/WidgetEngines.hpp"
#include "tree/WidgetRecords.hpp"

#include <Trellis/FrameInfo.hpp>
#include <Trellis/Operator.hpp>

#include <algorithm>

namespace Trellis
{
namespace
{
enum class Direction { In, OutAndDelete };
/// Sums of rounded steps must reach the end in the frame that they are meant to.
constexpr float kToleranceSeconds = 1e-4f;

/// One run of a fade; the widget has at most one.
class FadeOperator final : public Operator
{
public:
    FadeOperator(Facet::AttributeT<float>& opacity, Direction direction, float from, float seconds, float delaySeconds)
        : m_opacity(opacity), m_direction(direction), m_from(from), m_seconds(seconds), m_delaySeconds(delaySeconds)
    {
        setCSSType(QByteArrayLiteral("fade-animator"));
    }

    [[nodiscard]] bool fadesOut() const { return m_direction == Direction::OutAndDelete; }

    void update(Widget& widget, const FrameInfo& frame) override
    {
        m_elapsedSeconds += frame.dt();
        const float run = m_elapsedSeconds - std::max(0.f, m_delaySeconds);
        if (run + kToleranceSeconds < 0.f)
            return;
        if (run + kToleranceSeconds < m_seconds) {
            // The target is what the style sheet says now, which may change while the fade runs.
            m_opacity.setValue(m_from + (target() - m_from) * std::max(0.f, run) / m_seconds);
            return;
        }
        setDone();
        if (fadesOut()) {
            m_opacity.setValue(0.f);
            widget.removeFromParent();
        } else {
            m_opacity.clearValue(Facet::kUserLayer);
        }
    }

private:
    [[nodiscard]] float target() const
    {
        if (fadesOut())
            return 0.f;
        return m_opacity.value(m_opacity.hasValue(Facet::kStyleLayer) ? Facet::kStyleLayer : Facet::kDefaultLayer);
    }

    Facet::AttributeT<float>& m_opacity;
    Direction m_direction;
    float m_from;
    float m_seconds;
    float m_delaySeconds;
    float m_elapsedSeconds = 0.f;
};

FadeOperator* runningFade(const Widget& widget)
{
    for (const auto& op : widget.operators())
        if (auto* fade = dynamic_cast<FadeOperator*>(op.get()))
            if (!fade->isDone())
                return fade;
    return nullptr;
}
}

void FadeAnimator::fadeIn(Widget& widget, float seconds, float delaySeconds)
{
    float from = 0.f;
    if (FadeOperator* running = runningFade(widget)) {
        from = widget.opacity();
        widget.removeOperator(*running);
    }
    WidgetRecords::of(widget).input.fadingOut = false;
    widget.setOpacity(from);
    widget.addOperator(Bedrock::makeIntrusive<FadeOperator>(WidgetRecords::of(widget).drawing.opacity, Direction::In, from,
                                                            seconds, delaySeconds));
}

void FadeAnimator::fadeOutAndDelete(Widget& widget, float seconds, float delaySeconds)
{
    const float from = widget.opacity();
    if (FadeOperator* running = runningFade(widget))
        widget.removeOperator(*running);
    WidgetRecords::of(widget).input.fadingOut = true;
    WidgetEngines::current().dropInput(widget);
    widget.stopMotion();
    widget.setOpacity(from);
    widget.addOperator(Bedrock::makeIntrusive<FadeOperator>(WidgetRecords::of(widget).drawing.opacity, Direction::OutAndDelete,
                                                            from, seconds, delaySeconds));
}

bool FadeAnimator::isFadingOut(const Widget& widget)
{
    const FadeOperator* running = runningFade(widget);
    return running && running->fadesOut();
}
}
