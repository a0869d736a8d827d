#include <Trellis/TextInterfaceWidget.hpp>

#include "text/FontFaces.hpp"
#include "text/TextMeasures.hpp"
#include "text/TextPrivate.hpp"
#include "tree/WidgetRecords.hpp"

#include <Lantern/RenderContext.hpp>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Trellis
{
namespace
{
const Facet::AttributeName kText("text");
const Facet::AttributeName kColor("color");
const Facet::AttributeName kFontFamily("font-family");
const Facet::AttributeName kFontSize("font-size");
const Facet::AttributeName kFontWeight("font-weight");
const Facet::AttributeName kFontStyle("font-style");
const Facet::AttributeName kLineHeight("line-height");
const Facet::AttributeName kTextAlign("text-align");
const Facet::AttributeName kVerticalAlign("vertical-align");
const Facet::AttributeName kMaxLines("max-lines");
const Facet::AttributeName kLetterSpacing("letter-spacing");
const Facet::AttributeName kTextDecoration("text-decoration");
const Facet::AttributeName kWhiteSpace("white-space");
const Facet::AttributeName kTextOverflow("text-overflow");

const Facet::AttributeT<FontStyle>::Names kFontStyles{{QStringLiteral("normal"), FontStyle::Normal},
                                                      {QStringLiteral("italic"), FontStyle::Italic},
                                                      {QStringLiteral("oblique"), FontStyle::Italic}};
const Facet::AttributeT<TextAlign>::Names kAligns{{QStringLiteral("start"), TextAlign::Start},
                                                  {QStringLiteral("left"), TextAlign::Left},
                                                  {QStringLiteral("center"), TextAlign::Center},
                                                  {QStringLiteral("right"), TextAlign::Right},
                                                  {QStringLiteral("end"), TextAlign::End}};
const Facet::AttributeT<VerticalAlign>::Names kVerticalAligns{{QStringLiteral("top"), VerticalAlign::Top},
                                                              {QStringLiteral("middle"), VerticalAlign::Middle},
                                                              {QStringLiteral("bottom"), VerticalAlign::Bottom}};
const Facet::AttributeT<TextDecoration>::Names kDecorations{{QStringLiteral("none"), TextDecoration::None},
                                                            {QStringLiteral("underline"), TextDecoration::Underline},
                                                            {QStringLiteral("overline"), TextDecoration::Overline},
                                                            {QStringLiteral("line-through"), TextDecoration::LineThrough}};
const Facet::AttributeT<WhiteSpace>::Names kWhiteSpaces{{QStringLiteral("pre-wrap"), WhiteSpace::PreWrap},
                                                        {QStringLiteral("pre-line"), WhiteSpace::PreLine},
                                                        {QStringLiteral("normal"), WhiteSpace::Normal},
                                                        {QStringLiteral("pre"), WhiteSpace::Pre},
                                                        {QStringLiteral("nowrap"), WhiteSpace::NoWrap}};
const Facet::AttributeT<TextOverflow>::Names kOverflows{{QStringLiteral("clip"), TextOverflow::Clip},
                                                        {QStringLiteral("ellipsis"), TextOverflow::Ellipsis}};
const QStringList kDefaultFamilies{QStringLiteral("Inter"), QStringLiteral("sans-serif")};
}

Typesetting::Typesetting(Widget* host)
    : fontStyle(host, kFontStyle, kFontStyles, FontStyle::Normal), lineHeight(host, kLineHeight),
      textAlign(host, kTextAlign, kAligns, TextAlign::Start),
      verticalAlign(host, kVerticalAlign, kVerticalAligns, VerticalAlign::Top), maxLines(host, kMaxLines, 0),
      letterSpacing(host, kLetterSpacing), decoration(host, kTextDecoration, kDecorations, TextDecoration::None),
      whiteSpace(host, kWhiteSpace, kWhiteSpaces, WhiteSpace::PreWrap),
      overflow(host, kTextOverflow, kOverflows, TextOverflow::Clip)
{
}

bool Typesetting::isNamed(int nameNumber)
{
    return isOneOf(nameNumber,
                   {kFontStyle, kLineHeight, kTextAlign, kVerticalAlign, kMaxLines, kLetterSpacing, kTextDecoration, kWhiteSpace,
                    kTextOverflow});
}

TextInterfaceWidget::TextPrivate::TextPrivate(TextInterfaceWidget* host)
    : text(host, kText), color(host, kColor, Bedrock::Color{0.f, 0.f, 0.f, 1.f}), fontFamily(host, kFontFamily, kDefaultFamilies),
      fontSize(host, kFontSize, 16.f), fontWeight(host, kFontWeight)
{
}

const TextFormat::Pointer& TextInterfaceWidget::TextPrivate::format()
{
    if (m_format)
        return m_format;
    const Typesetting& setting = *typesetting;
    TextLook look;
    look.families = FontFaces::instance().resolved(fontFamily.value());
    look.sizePx = std::clamp(int(std::lround(fontSize.value())), 1, 2000);
    look.weight = fontWeight.value().value;
    look.isItalic = setting.fontStyle.value() == FontStyle::Italic;
    look.lineHeight = std::max(0.f, setting.lineHeight.value().multipleOf(float(look.sizePx)));
    look.align = align();
    look.maxLines = std::max(0, setting.maxLines.value());
    look.letterSpacingPx = setting.letterSpacing.value().px;
    look.decoration = setting.decoration.value();
    look.whiteSpace = setting.whiteSpace.value();
    look.overflow = setting.overflow.value();
    m_format = TextFormat::of(look);
    return m_format;
}

const Facet::AttributeT<Alignment>& TextInterfaceWidget::TextPrivate::widgetAlign() const
{
    return WidgetRecords::of(static_cast<const Widget&>(*text.host())).layout.spacing->align;
}

/// `align` is another name of it where nothing says `text-align`.
TextAlign TextInterfaceWidget::TextPrivate::align() const
{
    const Facet::AttributeT<Alignment>& other = widgetAlign();
    if (typesetting->textAlign.visibleLayer() != Facet::kDefaultLayer || other.visibleLayer() == Facet::kDefaultLayer)
        return typesetting->textAlign.value();
    switch (other.value()) {
    case Alignment::Left: return TextAlign::Left;
    case Alignment::Center: return TextAlign::Center;
    case Alignment::Right: break;
    }
    return TextAlign::Right;
}

const TextBlock& TextInterfaceWidget::TextPrivate::lines(float widthPx)
{
    TextBlock& block = m_lines.block();
    block.lay(text.value(), format(), widthPx);
    return block;
}

Vecta::Vector2f TextInterfaceWidget::TextPrivate::measure(float widthPx)
{
    if (const auto known = TextMeasures::find(text.value(), format(), widthPx))
        return *known;
    const Vecta::Vector2f size = lines(widthPx).size();
    TextMeasures::keep(text.value(), format(), widthPx, size);
    return size;
}

Vecta::Vector2f TextInterfaceWidget::TextPrivate::measured(float widthPx)
{
    widthPx = std::max(0.f, widthPx);
    if (m_measures[0].widthPx != widthPx) {
        std::swap(m_measures[0], m_measures[1]);
        if (m_measures[0].widthPx != widthPx)
            m_measures[0] = {widthPx, measure(widthPx)};
    }
    return m_measures[0].size;
}

float TextInterfaceWidget::TextPrivate::topOf(float height, const Vecta::Rect& box) const
{
    const VerticalAlign align = typesetting->verticalAlign.value();
    const float share = align == VerticalAlign::Top ? 0.f : align == VerticalAlign::Middle ? 0.5f : 1.f;
    return box.y + (box.height - height) * share;
}

bool TextInterfaceWidget::TextPrivate::changesLines(const Facet::Attribute& attribute) const
{
    return &attribute == &text || &attribute == &fontFamily || &attribute == &fontSize || &attribute == &fontWeight
        || (typesetting.holds(attribute) && &attribute != &typesetting->verticalAlign) || &attribute == &widgetAlign();
}

TextInterfaceWidget::TextInterfaceWidget(Widget* parent) : Widget(parent), d(std::make_unique<TextPrivate>(this)) {}

TextInterfaceWidget::~TextInterfaceWidget() = default;

void TextInterfaceWidget::setText(const QString& text)
{
    d->text.setValue(text);
}

QString TextInterfaceWidget::text() const
{
    return d->text.value();
}

Facet::AttributeT<QString>& TextInterfaceWidget::textAttribute()
{
    return d->text;
}

void TextInterfaceWidget::fontsChanged()
{
    d->forgetMeasures();
    d->forgetFormat();
    TextMeasures::clear();
    requestLayout();
    requestRedraw();
}

Vecta::Vector2f TextInterfaceWidget::contentSize(float availableWidth) const
{
    if (text().isEmpty())
        return {};
    const Vecta::Vector2f size = d->measured(availableWidth);
    // A whole pixel more than the widest line, so that it does not wrap in a box of that width.
    return {std::min(availableWidth, std::ceil(size.x + 0.01f)), std::ceil(size.y)};
}

bool TextInterfaceWidget::makeRareAttributes(int nameNumber)
{
    const bool madeByBase = Widget::makeRareAttributes(nameNumber);
    if (nameNumber != kAllAttributes)
        return madeByBase || d->typesetting.makeNamed(*this, nameNumber);
    d->typesetting.make(*this);
    return true;
}

void TextInterfaceWidget::attributeChanged(Facet::Attribute& attribute)
{
    Widget::attributeChanged(attribute);
    if (d->changesLines(attribute)) {
        d->forgetMeasures();
        if (&attribute != &d->text)
            d->forgetFormat();
        requestLayout();
        requestRedraw();
    } else if (&attribute == &d->color || &attribute == &d->typesetting->verticalAlign) {
        requestRedraw();
    }
}

void TextInterfaceWidget::renderContent(Lantern::RenderContext& context) const
{
    Widget::renderContent(context);
    if (d->text.value().isEmpty())
        return;
    const Vecta::Rect box = contentBox();
    const TextBlock& lines = d->lines(box.width);
    // What is larger than the widget is cut off at its edge: only its own rectangle is ever drawn anew.
    const bool sticksOut = lines.size().y > box.height + 1.f || lines.size().x > box.width + 1.f;
    if (sticksOut)
        context.pushClip({0.f, 0.f, width(), height()});
    lines.draw(context, {box.x, sticksOut ? std::max(box.y, d->topOf(lines.size().y, box)) : d->topOf(lines.size().y, box)},
               d->color.value().premultiplied());
    if (sticksOut)
        context.pop();
}
}
