#pragma once

#include <Trellis/Widget.hpp>

#include <QString>

namespace Trellis
{
class TextWidget;
}

namespace Tavola
{
/// A short text in a bubble. The default text comes from the style sheet (attribute "text" of the text widget inside, or
/// "text" of the tooltip itself, which fills it). CSS type "TooltipWidget"; the text widget has class "tooltip-text".
class TAVOLA_EXPORT TooltipWidget : public Trellis::Widget
{
public:
    explicit TooltipWidget(Bedrock::IntrusivePtr<Trellis::Widget> parent);
    ~TooltipWidget() override;

    void setText(const QString& text);
    /// The text that shows.
    [[nodiscard]] QString text() const;
    [[nodiscard]] Bedrock::IntrusivePtr<Trellis::TextWidget> textWidget() const;

protected:
    friend class InputFieldWidget;
    explicit TooltipWidget(Trellis::Widget* parent);
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    Facet::AttributeT<QString> m_text{this, "text"};
    Bedrock::IntrusivePtr<Trellis::TextWidget> m_textWidget;
};
}
