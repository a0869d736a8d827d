#include "tree/DrawingRecord.hpp"

#include <Trellis/Widget.hpp>

namespace Trellis
{
namespace
{
const Facet::AttributeName kOpacity("opacity");
const Facet::AttributeName kBackgroundColor("background-color");
const Facet::AttributeName kBorderColor("border-color");
const Facet::AttributeName kBorderWidth("border-width");
const Facet::AttributeName kBorderRadius("border-radius");
const Facet::AttributeName kBackgroundImage("background-image");
const Facet::AttributeName kBackgroundSize("background-size");
const Facet::AttributeName kBackgroundPosition("background-position");
const Facet::AttributeName kBackgroundRepeat("background-repeat");
const Facet::AttributeName kBoxShadow("box-shadow");
const Facet::AttributeName kTopWidth("border-top-width");
const Facet::AttributeName kRightWidth("border-right-width");
const Facet::AttributeName kBottomWidth("border-bottom-width");
const Facet::AttributeName kLeftWidth("border-left-width");
const Facet::AttributeName kTopColor("border-top-color");
const Facet::AttributeName kRightColor("border-right-color");
const Facet::AttributeName kBottomColor("border-bottom-color");
const Facet::AttributeName kLeftColor("border-left-color");
const Facet::AttributeName kTopLeft("border-top-left-radius");
const Facet::AttributeName kTopRight("border-top-right-radius");
const Facet::AttributeName kBottomRight("border-bottom-right-radius");
const Facet::AttributeName kBottomLeft("border-bottom-left-radius");
const Facet::AttributeName kOverflow("overflow");

const Facet::AttributeT<Overflow>::Names kOverflows{{QStringLiteral("visible"), Overflow::Visible},
                                                    {QStringLiteral("hidden"), Overflow::Hidden}};

constexpr Bedrock::Color kTransparent{0.f, 0.f, 0.f, 0.f};
}

Border::Border(Widget* host)
    : color(host, kBorderColor, kTransparent), width(host, kBorderWidth, 0.f), radius(host, kBorderRadius, 0.f)
{
}

bool Border::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kBorderColor, kBorderWidth, kBorderRadius});
}

BorderSides::BorderSides(Widget* host)
    : topWidth(host, kTopWidth), rightWidth(host, kRightWidth), bottomWidth(host, kBottomWidth), leftWidth(host, kLeftWidth),
      topColor(host, kTopColor), rightColor(host, kRightColor), bottomColor(host, kBottomColor), leftColor(host, kLeftColor)
{
}

bool BorderSides::isNamed(int nameNumber)
{
    return isOneOf(nameNumber,
                   {kTopWidth, kRightWidth, kBottomWidth, kLeftWidth, kTopColor, kRightColor, kBottomColor, kLeftColor});
}

BorderCorners::BorderCorners(Widget* host)
    : topLeft(host, kTopLeft), topRight(host, kTopRight), bottomRight(host, kBottomRight), bottomLeft(host, kBottomLeft)
{
}

bool BorderCorners::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kTopLeft, kTopRight, kBottomRight, kBottomLeft});
}

Lantern::BoxFrame DrawingRecord::frame() const
{
    const float width = border->width.value();
    const Bedrock::Color& color = border->color.value();
    if (!sides.isMade())
        return {width, width, width, width, color, color, color, color};
    return {sides->topWidth->valueOr(width),    sides->rightWidth->valueOr(width), sides->bottomWidth->valueOr(width),
            sides->leftWidth->valueOr(width),   sides->topColor->valueOr(color),   sides->rightColor->valueOr(color),
            sides->bottomColor->valueOr(color), sides->leftColor->valueOr(color)};
}

Lantern::Corners DrawingRecord::corners() const
{
    const float radius = border->radius.value();
    if (!corner.isMade())
        return Lantern::Corners::all(radius);
    const auto both = [radius](const OwnOrCommon<float>& value) {
        const float r = value.valueOr(radius);
        return Vecta::Vector2f{r, r};
    };
    return {both(corner->topLeft.value()), both(corner->topRight.value()), both(corner->bottomRight.value()),
            both(corner->bottomLeft.value())};
}

Decoration::Decoration(Widget* host) : boxShadow(host, kBoxShadow) {}

bool Decoration::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kBoxShadow});
}

BackgroundAttributes::BackgroundAttributes(Widget* host)
    : images(host, kBackgroundImage), sizes(host, kBackgroundSize), positions(host, kBackgroundPosition),
      repeats(host, kBackgroundRepeat)
{
}

bool BackgroundAttributes::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kBackgroundImage, kBackgroundSize, kBackgroundPosition, kBackgroundRepeat});
}

DrawingRecord::DrawingRecord(Widget* host)
    : opacity(host, kOpacity, {Facet::ValueNotation<float>::Percentages::Taken}, 1.f),
      backgroundColor(host, kBackgroundColor, kTransparent), overflow(host, kOverflow, kOverflows, Overflow::Visible),
      wasShown(false), redrawQueued(false), ownRedrawQueued(false), moveQueued(false), scaleQueued(false),
      childrenMoveQueued(false), inTree(false), keepsChildren(false), holdsKept(false)
{
}
}
