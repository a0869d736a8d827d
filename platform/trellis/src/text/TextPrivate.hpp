#pragma once

#include "text/FontWeight.hpp"
#include "text/TextBlock.hpp"

#include <Trellis/TextInterfaceWidget.hpp>

namespace Trellis
{
enum class FontStyle { Normal, Italic };
enum class VerticalAlign { Top, Middle, Bottom };

/// The attributes of a text, and its lines: those that show, and those of the last width that the layout asked for.
struct TextInterfaceWidget::TextPrivate
{
    explicit TextPrivate(TextInterfaceWidget* host);

    Facet::AttributeT<QString> text;
    Facet::AttributeT<Bedrock::Color> color;
    Facet::AttributeT<QStringList> fontFamily;
    Facet::AttributeT<float> fontSize;
    Facet::AttributeT<FontWeight> fontWeight;
    Facet::AttributeT<FontStyle> fontStyle;
    Facet::AttributeT<float> lineHeight;
    Facet::AttributeT<TextAlign> textAlign;
    Facet::AttributeT<VerticalAlign> verticalAlign;
    Facet::AttributeT<int> maxLines;

    TextBlock shown;
    TextBlock measured;

    /// As the attributes have it; made anew after one of them has changed.
    [[nodiscard]] const TextFormat& format();
    /// The lines in that width.
    [[nodiscard]] const TextBlock& lines(TextBlock& block, float widthPx);
    /// Where something of that height begins in the box.
    [[nodiscard]] float topOf(float height, const Vecta::Rect& box) const;
    /// Whether the attribute is one of those that the lines depend on.
    [[nodiscard]] bool changesLines(const Facet::Attribute& attribute) const;

    bool formatIsKnown = false;

private:
    TextFormat m_format;
};
}
