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

DrawingRecord::DrawingRecord(Widget* host)
    : opacity(host, kOpacity, 1.f), backgroundColor(host, kBackgroundColor, kTransparent),
      borderColor(host, kBorderColor, kTransparent), borderWidth(host, kBorderWidth, 0.f), borderRadius(host, kBorderRadius, 0.f),
      overflow(host, kOverflow, kOverflows, Overflow::Visible)
{
}

bool DrawingRecord::paintsBox(const Facet::Attribute& attribute) const
{
    const Facet::Attribute* const a = &attribute;
    return a == &backgroundColor || a == &borderColor || a == &borderWidth || a == &borderRadius;
}
}
