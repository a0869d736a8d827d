#include "tree/LayoutRecord.hpp"

#include "tree/WidgetEngines.hpp"
#include "tree/WidgetRecords.hpp"

#include <cmath>

namespace Trellis
{
using Vecta::Vector2f;

namespace
{
/// Interned once: a widget that is made looks no name up.
const Facet::AttributeName kLocation("location");
const Facet::AttributeName kWidth("width");
const Facet::AttributeName kHeight("height");
const Facet::AttributeName kMinWidth("min-width");
const Facet::AttributeName kMaxWidth("max-width");
const Facet::AttributeName kMinHeight("min-height");
const Facet::AttributeName kMaxHeight("max-height");
const Facet::AttributeName kLeft("left");
const Facet::AttributeName kTop("top");
const Facet::AttributeName kRight("right");
const Facet::AttributeName kBottom("bottom");
const Facet::AttributeName kPadding("padding");
const Facet::AttributeName kMargin("margin");
const Facet::AttributeName kPosition("position");
const Facet::AttributeName kDisplay("display");
const Facet::AttributeName kAlign("align");
const Facet::AttributeName kDirection("direction");
const Facet::AttributeName kGap("gap");
const Facet::AttributeName kRotation("rotation");
const Facet::AttributeName kScale("scale");

const Facet::AttributeT<Position>::Names kPositions{{QStringLiteral("flow"), Position::Flow},
                                                    {QStringLiteral("absolute"), Position::Absolute}};
const Facet::AttributeT<Display>::Names kDisplays{{QStringLiteral("block"), Display::Block},
                                                  {QStringLiteral("inline"), Display::Inline},
                                                  {QStringLiteral("none"), Display::None}};
const Facet::AttributeT<Alignment>::Names kAlignments{{QStringLiteral("left"), Alignment::Left},
                                                      {QStringLiteral("center"), Alignment::Center},
                                                      {QStringLiteral("right"), Alignment::Right}};
const Facet::AttributeT<FlowDirection>::Names kDirections{{QStringLiteral("ltr"), FlowDirection::LeftToRight},
                                                          {QStringLiteral("rtl"), FlowDirection::RightToLeft}};

LayoutRecord& layoutOf(const Widget& widget)
{
    return WidgetRecords::of(widget).layout;
}

void markBelowDirty(Widget* widget)
{
    for (; widget && !layoutOf(*widget).belowDirty; widget = widget->parent())
        layoutOf(*widget).belowDirty = true;
}

void forgetMeasures(LayoutRecord& layout)
{
    for (auto& entry : layout.measures)
        entry.availableWidth = -1.f;
}
}

// The layout is marked first: a listener to the change may read it, or destroy the widget.

bool LocationAttribute::setStyleValue(const Facet::StyleValue& value, int layer, QString* error)
{
    if (layer == Facet::kStyleLayer && !hasValue(layer))
        invalidateBox(static_cast<Widget&>(*host()));
    return AttributeT::setStyleValue(value, layer, error);
}

void LocationAttribute::takeStyledValue(const Facet::Attribute& source)
{
    if (!hasValue(Facet::kStyleLayer))
        invalidateBox(static_cast<Widget&>(*host()));
    AttributeT::takeStyledValue(source);
}

void LocationAttribute::clearValue(int layer)
{
    if (layer == Facet::kStyleLayer && hasValue(layer))
        invalidateBox(static_cast<Widget&>(*host()));
    AttributeT::clearValue(layer);
}

SizeLimits::SizeLimits(Widget* host)
    : minWidth(host, kMinWidth), maxWidth(host, kMaxWidth), minHeight(host, kMinHeight), maxHeight(host, kMaxHeight)
{
}

bool SizeLimits::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kMinWidth, kMaxWidth, kMinHeight, kMaxHeight});
}

Insets::Insets(Widget* host) : left(host, kLeft), top(host, kTop), right(host, kRight), bottom(host, kBottom) {}

bool Insets::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kLeft, kTop, kRight, kBottom});
}

Spacing::Spacing(Widget* host)
    : padding(host, kPadding), margin(host, kMargin), align(host, kAlign, kAlignments, Alignment::Left),
      direction(host, kDirection, kDirections, FlowDirection::LeftToRight), gap(host, kGap, 0.f)
{
}

bool Spacing::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kPadding, kMargin, kAlign, kDirection, kGap});
}

LayoutRecord::LayoutRecord(Widget* host)
    : location(host, kLocation), width(host, kWidth), height(host, kHeight),
      position(host, kPosition, kPositions, Position::Flow), display(host, kDisplay, kDisplays, Display::Block),
      rotation(host, kRotation), scale(host, kScale, 1.f)
{
}

bool LayoutRecord::isOutOfFlow() const
{
    return position.value() == Position::Absolute || location.hasValue(Facet::kStyleLayer);
}

float LayoutRecord::placingScale() const
{
    return scaleMoves && !scale.hasValue(Facet::kUserLayer) ? scaleAtRest : scale.value();
}

Vector2f LayoutRecord::cornerShift() const
{
    const bool standsFreely = isOutOfFlow() || location.hasValue(Facet::kUserLayer);
    return scaleMoves && standsFreely ? size * ((placingScale() - scale.value()) / 2.f) : Vector2f();
}

bool LayoutRecord::isPlacedByScale() const
{
    const Edges& margin = spacing->margin.value();
    return !insets->right.value().isAuto() || !insets->bottom.value().isAuto() || margin.left.isAuto() || margin.top.isAuto();
}

Vector2f LayoutRecord::toParent(Vector2f point) const
{
    return location.value() + (cornerShift() + point * scale.value()).rotated(rotation.value().radians);
}

Vector2f LayoutRecord::fromParent(Vector2f point) const
{
    const float factor = scale.value();
    const Vector2f turnedBack = (point - location.value()).rotated(-rotation.value().radians) - cornerShift();
    // A widget scaled to nothing has no coordinates to map to.
    return factor != 0.f ? turnedBack / factor : Vector2f();
}

Vector2f LayoutRecord::cornerInParent() const
{
    return scaleMoves ? toParent({}) : location.value();
}

Vecta::Transform LayoutRecord::transformToParent() const
{
    const Vector2f corner = cornerInParent();
    const float factor = scale.value();
    Vecta::Transform result;
    result.m11 = result.m22 = factor;
    result.dx = corner.x;
    result.dy = corner.y;
    if (const float radians = rotation.value().radians; radians != 0.f) {
        const float cosine = std::cos(radians), sine = std::sin(radians);
        result.m11 = result.m22 = cosine * factor;
        result.m12 = -sine * factor;
        result.m21 = sine * factor;
    }
    return result;
}

// ---- What is out of date ---------------------------------------------------------------------------------------------

void invalidateContent(Widget& widget)
{
    LayoutRecord& layout = layoutOf(widget);
    layout.arrangeDirty = true;
    forgetMeasures(layout);
    Widget* parent = widget.parent();
    if (!parent)
        return;
    if (!layout.sizeFromContent) {
        markBelowDirty(parent);
    } else if (layout.isOutOfFlow()) {
        layoutOf(*parent).arrangeDirty = true;
        markBelowDirty(parent->parent());
    } else {
        invalidateContent(*parent);
    }
}

void invalidateBox(Widget& widget)
{
    LayoutRecord& layout = layoutOf(widget);
    layout.sizeFromContent = true; // Until the layout has seen it, the change may reach every ancestor.
    layout.arrangeDirty = true;
    forgetMeasures(layout);
    if (Widget* parent = widget.parent())
        invalidateContent(*parent);
}

void invalidateScale(Widget& widget)
{
    LayoutRecord& layout = layoutOf(widget);
    if (!widget.parent())
        return;
    if (!layout.isOutOfFlow()) {
        invalidateBox(widget);
    } else if (layout.isPlacedByScale()) {
        layout.placeDirty = true;
        markBelowDirty(widget.parent());
    }
}

bool isLayoutDirty(const Widget& root)
{
    const LayoutRecord& layout = layoutOf(root);
    return layout.arrangeDirty || layout.belowDirty;
}

void bringLayoutUpToDate(const Widget& widget)
{
    const Widget& root = *widget.nearest([](const Widget& ancestor) { return !ancestor.parent(); });
    if (isLayoutDirty(root))
        WidgetEngines::current().layOut(root);
}
}
