#include "components/InvitationWidget.hpp"

#include <Lantern/RenderContext.hpp>
#include <Lantern/Style.hpp>
#include <Trellis/FrameInfo.hpp>
#include <Trellis/TextWidget.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
constexpr float kTravel = 0.35f; ///< of the card's size
constexpr float kCorner = 0.1f;  ///< of the card's size
constexpr float kStrokePx = 3.f;
constexpr float kLeastPeriodSeconds = 0.5f;
}

InvitationWidget::InvitationWidget()
{
    setCSSType("InvitationWidget");
    m_textWidget = new Trellis::TextWidget(this);
    m_textWidget->addCSSClass("invitation-text");
    m_textWidget->setText(m_text.value()); // the style was there before the widget for it
    setInputEnabled(false);
}

void InvitationWidget::update(const Trellis::FrameInfo& frame)
{
    m_phase += frame.dt() / std::max(m_period.value(), kLeastPeriodSeconds);
    m_phase -= std::floor(m_phase);
    m_lift = 0.5f + 0.5f * std::cos(float(Vecta::kTwoPi) * m_phase);
    requestRedraw();
}

void InvitationWidget::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    const float side = m_cardSize.value();
    const Vecta::Rect card{(width() - side) / 2.f, kStrokePx + m_lift * kTravel * side, side, side};
    context.drawRect(card, side * kCorner,
                     Lantern::Style().setNoFill().setStroke(m_cardColor.value().premultiplied(), kStrokePx));
}

void InvitationWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (&attribute == &m_moving)
        setUpdating(m_moving.value());
    else if (&attribute == &m_text && m_textWidget)
        m_textWidget->setText(m_text.value());
    else if (&attribute == &m_cardSize || &attribute == &m_cardColor)
        requestRedraw();
}
}
