#include <Tavola/TooltipWidget.hpp>

#include <Trellis/TextWidget.hpp>

namespace Tavola
{
TooltipWidget::TooltipWidget(Bedrock::IntrusivePtr<Trellis::Widget> parent) : TooltipWidget(parent.get()) {}

TooltipWidget::TooltipWidget(Trellis::Widget* parent) : Trellis::Widget(parent)
{
    m_textWidget = Bedrock::makeIntrusive<Trellis::TextWidget>(this);
    m_textWidget->addCSSClass(QByteArrayLiteral("tooltip-text"));
    setCSSType(QByteArrayLiteral("TooltipWidget"));
}

TooltipWidget::~TooltipWidget() = default;

void TooltipWidget::setText(const QString& text)
{
    m_text.setValue(text);
    // The attribute does not change, and so calls nothing, when its style has the same text while the text widget shows another.
    m_textWidget->setText(text);
}

QString TooltipWidget::text() const
{
    return m_textWidget->text();
}

Bedrock::IntrusivePtr<Trellis::TextWidget> TooltipWidget::textWidget() const
{
    return m_textWidget;
}

void TooltipWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (&attribute != &m_text || !m_textWidget)
        return;
    auto& shown = m_textWidget->textAttribute();
    if (m_text.visibleLayer() == Facet::kUserLayer) {
        shown.setValue(m_text.value());
        return;
    }
    // A style of the tooltip is the default of the text widget, whose own style goes first.
    shown.clearValue(Facet::kUserLayer);
    shown.setValue(m_text.value(), Facet::kDefaultLayer);
}
}
