#pragma once

#include "text/FontWeight.hpp"
#include "text/KeptTextBlock.hpp"
#include "text/TextLengths.hpp"
#include "tree/RareAttributes.hpp"

#include <Trellis/TextInterfaceWidget.hpp>

#include <array>
#include <memory>

namespace Trellis
{
enum class FontStyle { Normal, Italic };
enum class VerticalAlign { Top, Middle, Bottom };

struct Typesetting
{
    explicit Typesetting(Widget* host);
    Facet::AttributeT<FontStyle> fontStyle;
    Facet::AttributeT<LineHeight> lineHeight;
    Facet::AttributeT<TextAlign> textAlign;
    Facet::AttributeT<VerticalAlign> verticalAlign;
    Facet::AttributeT<int> maxLines;
    Facet::AttributeT<LetterSpacing> letterSpacing;
    Facet::AttributeT<TextDecoration> decoration;
    Facet::AttributeT<WhiteSpace> whiteSpace;
    Facet::AttributeT<TextOverflow> overflow;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// The attributes of a text, its lines, and their size in the two widths that the layout asked for last.
struct TextInterfaceWidget::TextPrivate
{
    explicit TextPrivate(TextInterfaceWidget* host);

    Facet::AttributeT<QString> text;
    Facet::AttributeT<Bedrock::Color> color;
    Facet::AttributeT<QStringList> fontFamily;
    Facet::AttributeT<float> fontSize;
    Facet::AttributeT<FontWeight> fontWeight;
    RareAttributes<Typesetting> typesetting;

    /// As the attributes have it; made anew after one of them has changed.
    [[nodiscard]] const TextFormat::Pointer& format();
    /// The lines in that width. Broken anew for another width, or after a change of what they depend on. Valid until those of
    /// another text are asked for.
    [[nodiscard]] const TextBlock& lines(float widthPx);
    /// Their size in that width. Kept apart from the lines: a layout that asks again leaves those that show as they are.
    [[nodiscard]] Vecta::Vector2f measured(float widthPx);
    /// What the lines depend on has changed.
    void forgetMeasures() { m_measures = {}; }
    /// Where something of that height begins in the box.
    [[nodiscard]] float topOf(float height, const Vecta::Rect& box) const;
    /// Whether the attribute is one of those that the lines depend on.
    [[nodiscard]] bool changesLines(const Facet::Attribute& attribute) const;

    /// What the format depends on has changed.
    void forgetFormat() { m_format.reset(); }
    /// Where lines stand, by `text-align` or `align`.
    [[nodiscard]] TextAlign align() const;

private:
    [[nodiscard]] const Facet::AttributeT<Alignment>& widgetAlign() const;
    [[nodiscard]] Vecta::Vector2f measure(float widthPx);

    TextFormat::Pointer m_format; ///< null until it is needed
    KeptTextBlock m_lines;
    struct Measure
    {
        float widthPx = -1.f; ///< negative: none
        Vecta::Vector2f size;
    };
    std::array<Measure, 2> m_measures; ///< the later one first
};
}
