#include "email/EnvelopeWidget.hpp"

#include <Bedrock/Color.hpp>
#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Vecta/Angle.hpp>

namespace Tavola
{
namespace
{
constexpr float kArcRadians = 5.235988f; // 300 degrees: a gap of 60 shows that the ring turns
constexpr float kStrokeWidthPx = 15.f;
constexpr Bedrock::Color kStroke{0.f, 0.f, 0.f, 170.f / 255.f}; // #000000AA
}

EnvelopeWidget::EnvelopeWidget(Trellis::Widget* parent) : Trellis::ImageWidget(parent)
{
    m_drawProgress.addListener([this] { drawProgressChanged(); }, Facet::Attribute::kValueChanged);
    setCSSType("EnvelopeWidget");
    addCSSClass("envelope");
}

EnvelopeWidget::~EnvelopeWidget() = default;

void EnvelopeWidget::drawProgressChanged()
{
    m_elapsed = 0.f;
    setUpdating(*m_drawProgress);
    requestRedraw();
}

void EnvelopeWidget::update(const Trellis::FrameInfo& frame)
{
    if (*m_drawProgress) {
        m_elapsed += frame.dt();
        requestRedraw();
    }
    ImageWidget::update(frame);
}

void EnvelopeWidget::renderContent(Lantern::RenderContext& context) const
{
    ImageWidget::renderContent(context);
    if (!*m_drawProgress)
        return;

    Lantern::Style style;
    style.setNoFill().setStroke(kStroke.premultiplied(), kStrokeWidthPx);

    // The angle is not wrapped: the context accepts any. An animation time of 0 gives an angle that is no number, which the style
    // sheet has asked for.
    const float progress = m_elapsed / *m_animationTime;
    const float from = static_cast<float>(progress * Vecta::kTwoPi);
    const Vecta::Vector2f extent = size();
    context.drawArc(extent / 2.f, (extent.x - kStrokeWidthPx) / 2.f, from, from + kArcRadians, style, 0);
}
}
