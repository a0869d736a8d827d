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
const Facet::AttributeName kOverflow("overflow");

const Facet::AttributeT<Overflow>::Names kOverflows{{QStringLiteral("visible"), Overflow::Visible},
                                                    {QStringLiteral("hidden"), Overflow::Hidden}};

constexpr Bedrock::Color kTransparent{0.f, 0.f, 0.f, 0.f};
}

bool OpacityAttribute::setStyleValue(const Facet::StyleValue& value, int layer, QString* error)
{
    using Kind = Facet::StyleTerm::Kind;
    if (value.terms.size() != 1 || value.terms.first().kind != Kind::Percentage)
        return AttributeT::setStyleValue(value, layer, error);
    Facet::StyleValue number = value;
    number.terms.first().kind = Kind::Number;
    number.terms.first().number /= 100.0;
    return AttributeT::setStyleValue(number, layer, error);
}

Border::Border(Widget* host)
    : color(host, kBorderColor, kTransparent), width(host, kBorderWidth, 0.f), radius(host, kBorderRadius, 0.f)
{
}

bool Border::isNamed(int nameNumber)
{
    return isOneOf(nameNumber, {kBorderColor, kBorderWidth, kBorderRadius});
}

DrawingRecord::DrawingRecord(Widget* host)
    : opacity(host, kOpacity, 1.f), backgroundColor(host, kBackgroundColor, kTransparent),
      overflow(host, kOverflow, kOverflows, Overflow::Visible)
{
}
}
