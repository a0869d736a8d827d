#pragma once

#include <Trellis/Widget.hpp>

#include <QString>

namespace Trellis
{
/// What every widget with a text has in common: the text and its look. Bidirectional and CJK text is laid out as Unicode
/// has it.
///
/// Attributes: "text", "color", "font-family", "font-size" (px), "font-weight" (100..900, normal, bold), "font-style",
/// "letter-spacing", "line-height" (a multiple, or px), "text-align" (left, center, right; "align" is another name),
/// "text-decoration", "white-space", "text-overflow", "vertical-align", "max-lines" (0: any number; more is cut with an
/// ellipsis).
class TAVOLA_EXPORT TextInterfaceWidget : public Widget
{
public:
    ~TextInterfaceWidget() override;

    /// Run-time layer.
    void setText(const QString& text);
    /// The text that shows.
    [[nodiscard]] QString text() const;
    /// The "text" attribute, so that its run-time value can be cleared.
    [[nodiscard]] Facet::AttributeT<QString>& textAttribute();

    /// Families name other fonts than before: the lines are broken anew. The application calls it.
    void fontsChanged();

    void renderContent(Lantern::RenderContext& context) const override;

protected:
    explicit TextInterfaceWidget(Widget* parent);
    [[nodiscard]] Vecta::Vector2f contentSize(float availableWidth) const override;
    bool makeRareAttributes(int nameNumber) override;
    void attributeChanged(Facet::Attribute& attribute) override;

private:
    friend class TextEditWidget;
    struct TextPrivate;
    std::unique_ptr<TextPrivate> d;
};
}
