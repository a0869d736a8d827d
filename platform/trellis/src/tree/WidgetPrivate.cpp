#include "tree/WidgetPrivate.hpp"

#include "layout/LayoutEngine.hpp"

namespace Trellis
{
namespace
{
/// The names live in the program's data: a widget that is made copies pointers only.
#define TRELLIS_NAME(identifier, text) const QByteArray identifier = QByteArrayLiteral(text)
TRELLIS_NAME(kLocation, "location");
TRELLIS_NAME(kWidth, "width");
TRELLIS_NAME(kHeight, "height");
TRELLIS_NAME(kMinWidth, "min-width");
TRELLIS_NAME(kMaxWidth, "max-width");
TRELLIS_NAME(kMinHeight, "min-height");
TRELLIS_NAME(kMaxHeight, "max-height");
TRELLIS_NAME(kLeft, "left");
TRELLIS_NAME(kTop, "top");
TRELLIS_NAME(kRight, "right");
TRELLIS_NAME(kBottom, "bottom");
TRELLIS_NAME(kPadding, "padding");
TRELLIS_NAME(kMargin, "margin");
TRELLIS_NAME(kPosition, "position");
TRELLIS_NAME(kDisplay, "display");
TRELLIS_NAME(kAlign, "align");
TRELLIS_NAME(kGap, "gap");
TRELLIS_NAME(kRotation, "rotation");
TRELLIS_NAME(kScale, "scale");
TRELLIS_NAME(kOpacity, "opacity");
TRELLIS_NAME(kBackgroundColor, "background-color");
TRELLIS_NAME(kBorderColor, "border-color");
TRELLIS_NAME(kBorderWidth, "border-width");
TRELLIS_NAME(kBorderRadius, "border-radius");
TRELLIS_NAME(kOverflow, "overflow");
TRELLIS_NAME(kInputTransparent, "input-transparent");
TRELLIS_NAME(kMovable, "movable");
TRELLIS_NAME(kRotatable, "rotatable");
TRELLIS_NAME(kScalable, "scalable");
TRELLIS_NAME(kInertia, "inertia");
TRELLIS_NAME(kMinScale, "min-scale");
TRELLIS_NAME(kMaxScale, "max-scale");
#undef TRELLIS_NAME

const Facet::AttributeT<Position>::Names kPositions{{QStringLiteral("flow"), Position::Flow},
                                                    {QStringLiteral("absolute"), Position::Absolute}};
const Facet::AttributeT<Display>::Names kDisplays{{QStringLiteral("block"), Display::Block},
                                                  {QStringLiteral("inline"), Display::Inline},
                                                  {QStringLiteral("none"), Display::None}};
const Facet::AttributeT<Alignment>::Names kAlignments{{QStringLiteral("left"), Alignment::Left},
                                                      {QStringLiteral("center"), Alignment::Center},
                                                      {QStringLiteral("right"), Alignment::Right}};
const Facet::AttributeT<Overflow>::Names kOverflows{{QStringLiteral("visible"), Overflow::Visible},
                                                    {QStringLiteral("hidden"), Overflow::Hidden}};

constexpr Bedrock::Color kTransparent{0.f, 0.f, 0.f, 0.f};
}

// The layout is told first: a listener to the change may read it, or destroy the widget.

bool LocationAttribute::setStyleValue(const Facet::StyleValue& value, int layer, QString* error)
{
    if (layer == Facet::kStyleLayer && !hasValue(layer))
        LayoutEngine::invalidateBox(static_cast<Widget&>(*host()));
    return AttributeT::setStyleValue(value, layer, error);
}

void LocationAttribute::clearValue(int layer)
{
    if (layer == Facet::kStyleLayer && hasValue(layer))
        LayoutEngine::invalidateBox(static_cast<Widget&>(*host()));
    AttributeT::clearValue(layer);
}

Widget::Private::Private(Widget* host)
    : location(host, kLocation), width(host, kWidth), height(host, kHeight), minWidth(host, kMinWidth), maxWidth(host, kMaxWidth),
      minHeight(host, kMinHeight), maxHeight(host, kMaxHeight), left(host, kLeft), top(host, kTop), right(host, kRight),
      bottom(host, kBottom), padding(host, kPadding), margin(host, kMargin),
      position(host, kPosition, kPositions, Position::Flow), display(host, kDisplay, kDisplays, Display::Block),
      align(host, kAlign, kAlignments, Alignment::Left), gap(host, kGap, 0.f), rotation(host, kRotation),
      scale(host, kScale, 1.f), opacity(host, kOpacity, 1.f), backgroundColor(host, kBackgroundColor, kTransparent),
      borderColor(host, kBorderColor, kTransparent), borderWidth(host, kBorderWidth, 0.f), borderRadius(host, kBorderRadius, 0.f),
      overflow(host, kOverflow, kOverflows, Overflow::Visible), inputTransparent(host, kInputTransparent, false),
      movable(host, kMovable, false), rotatable(host, kRotatable, false), scalable(host, kScalable, false),
      inertia(host, kInertia, true), minScale(host, kMinScale, 0.1f), maxScale(host, kMaxScale, 10.f), grabber(*host)
{
}
}
