#pragma once

#include "tree/RareAttributes.hpp"

#include <Facet/AttributeT.hpp>
#include <Trellis/Length.hpp>
#include <Trellis/Widget.hpp>

#include <vector>

namespace Trellis
{
/// Whether a widget stands in the flow depends on the layer on which its location is set, not on the value: a layer that is
/// set or cleared makes the layout dirty even where the value that shows stays the same.
class LocationAttribute final : public Facet::AttributeT<Vecta::Vector2f>
{
public:
    using AttributeT::AttributeT;
    bool setStyleValue(const Facet::StyleValue& value, int layer, QString* error) override;
    void takeStyledValue(const Facet::Attribute& source) override;
    void clearValue(int layer) override;
};

struct SizeLimits
{
    explicit SizeLimits(Widget* host);
    Facet::AttributeT<Length> minWidth, maxWidth, minHeight, maxHeight;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// Distances from the edges of the parent.
struct Insets
{
    explicit Insets(Widget* host);
    Facet::AttributeT<Length> left, top, right, bottom;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// From which side the inline children of a line follow one another.
enum class FlowDirection { LeftToRight, RightToLeft };

struct Spacing
{
    explicit Spacing(Widget* host);
    Facet::AttributeT<Edges> padding, margin;
    Facet::AttributeT<Alignment> align;
    Facet::AttributeT<FlowDirection> direction;
    Facet::AttributeT<float> gap;
    [[nodiscard]] static bool isNamed(int nameNumber);
};

/// What the layout reads of a widget, and what it keeps of it. The attributes are the widget's; all else is written by
/// LayoutEngine, and the dirty marks by the functions below.
struct LayoutRecord
{
    explicit LayoutRecord(Widget* host);

    struct Measure
    {
        float availableWidth = -1.f;
        Vecta::Vector2f size;
    };
    // What a change writes stands beside the attributes that change most, so that the processor loads it together with them.
    bool sizeFromContent = true; ///< the size may change with the content
    bool heightFromContent = false;
    bool arrangeDirty = true; ///< the children must be placed anew
    bool belowDirty = false;  ///< a widget further down is dirty; set on all its ancestors
    bool placeDirty = false;  ///< out of the flow, the place in the parent must be computed anew; the size stands
    bool movePending = false; ///< waits for its flow location to be written
    bool scaleMoves = false;  ///< a keyframe animation covers `scale`; written by Widget
    unsigned char nextMeasure = 0;
    Measure measures[2]; ///< the last results of contentSize; a negative width is an empty entry
    Vecta::Vector2f size;

    LocationAttribute location;
    Facet::AttributeT<Length> width, height;
    Facet::AttributeT<Position> position;
    Facet::AttributeT<Display> display;
    Facet::AttributeT<Angle> rotation;
    Facet::AttributeT<float> scale;
    RareAttributes<SizeLimits> limits;
    RareAttributes<Insets> insets;
    RareAttributes<Spacing> spacing;

    std::vector<Widget*> flowOrder; ///< the children in the order they were added; written by Widget
    Vecta::Vector2f flowLocation;   ///< where the layout wants the widget
    float padLeft = 0.f, padTop = 0.f, padRight = 0.f, padBottom = 0.f; ///< the padding in pixels
    float scaleAtRest = 1.f;                                            ///< what an animation covers; written by Widget

    [[nodiscard]] bool isOutOfFlow() const;
    /// Whether a change of the attribute, a member of this record, changes the size or place of the widget.
    [[nodiscard]] bool shapesBox(const Facet::Attribute& attribute) const noexcept
    {
        const Facet::Attribute* const a = &attribute;
        return a == &width || a == &height || a == &position || a == &display;
    }

    /// The scale that decides where the middle is: the one at rest while an animation covers it.
    [[nodiscard]] float placingScale() const;
    /// From the corner at rest to the one that shows, before rotation, in the parent's pixels. An animation scales about the
    /// middle, but in the flow, where a widget takes the room that it shows.
    [[nodiscard]] Vecta::Vector2f cornerShift() const;
    /// Whether the place that the layout gives the widget follows from the scale: one that is placed by its far edges, or in
    /// the middle between two.
    [[nodiscard]] bool isPlacedByScale() const;
    /// The maps, by the layout as it stands.
    [[nodiscard]] Vecta::Vector2f toParent(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Vector2f fromParent(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Vector2f cornerInParent() const;
    [[nodiscard]] Vecta::Transform transformToParent() const;
    [[nodiscard]] Vecta::Rect bounds() const { return {0.f, 0.f, size.x, size.y}; }
};

/// What stands inside `widget` takes another size, or another place.
void invalidateContent(Widget& widget);
/// The widget itself takes another size or place among its siblings.
void invalidateBox(Widget& widget);
/// What the layout places the widget by is another scale now. In the flow its siblings move along; out of it nothing is laid out
/// again, and at most the widget is placed anew.
void invalidateScale(Widget& widget);
/// Whether anything in the tree below `root` is out of date.
[[nodiscard]] bool isLayoutDirty(const Widget& root);
/// Lays out what is dirty in the tree that `widget` belongs to. Nothing while a layout is under way.
void bringLayoutUpToDate(const Widget& widget);
}
