#pragma once

#include "tree/RareAttributes.hpp"
#include "tree/Reach.hpp"
#include "tree/WidgetLayer.hpp"

#include <Bedrock/Color.hpp>
#include <Facet/AttributeT.hpp>
#include <Vecta/Rect.hpp>

#include <memory>

namespace Trellis
{
class Widget;

enum class Overflow {
    Visible,
    Hidden ///< children are neither drawn nor touched outside the widget
};

/// A number, which may be written as a percentage.
class OpacityAttribute final : public Facet::AttributeT<float>
{
public:
    using AttributeT::AttributeT;
    bool setStyleValue(const Facet::StyleValue& value, int layer, QString* error) override;
};

struct Border
{
    explicit Border(Widget* host);
    Facet::AttributeT<Bedrock::Color> color;
    Facet::AttributeT<float> width, radius;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// What is drawn of a widget, and what DamageTracker keeps of it.
struct DrawingRecord
{
    explicit DrawingRecord(Widget* host);

    OpacityAttribute opacity;
    Facet::AttributeT<Bedrock::Color> backgroundColor;
    Facet::AttributeT<Overflow> overflow;
    RareAttributes<Border> border;

    Reach reach;
    Vecta::Rect drawnBounds; ///< scene area of the widget itself when last accounted for, around the place of its layer, if any
    bool redrawQueued = false;
    bool ownRedrawQueued = false;       ///< its own appearance or size changed
    bool subtreeRedrawQueued = false;   ///< what is in it moved along
    bool keepsChildren = false;         ///< each child is drawn on whole pixels, and may be kept as a picture
    std::unique_ptr<WidgetLayer> layer; ///< of a child of such a widget

    [[nodiscard]] bool clips() const { return overflow.value() == Overflow::Hidden; }
};
}
