#pragma once

#include <Trellis/InputGrabber.hpp>
#include <Trellis/Operator.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Rect.hpp>

namespace Trellis
{
enum class Overflow {
    Visible,
    Hidden ///< children are neither drawn nor touched outside the widget
};

/// Whether a widget stands in the flow depends on the layer on which its location is set, not on the value: the layout
/// must hear of a layer that comes or goes even where the value that shows stays the same.
class LocationAttribute final : public Facet::AttributeT<Vecta::Vector2f>
{
public:
    using AttributeT::AttributeT;
    bool setStyleValue(const Facet::StyleValue& value, int layer, QString* error) override;
    void clearValue(int layer) override;
};

/// All of a widget but its place in the tree: attributes, and what layout, input, update and drawing remember of it.
/// Each group of plain members is written by the one class named above it.
struct Widget::Private
{
    explicit Private(Widget* host);

    /// The maps, by the layout as it stands: whoever calls them has brought it up to date.
    [[nodiscard]] Vecta::Vector2f toParent(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Vector2f fromParent(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Transform transformToParent() const;
    [[nodiscard]] static Vecta::Vector2f fromScene(const Widget& widget, Vecta::Vector2f point);

    // ---- Attributes ---------------------------------------------------------------------------------------------------
    LocationAttribute location;
    Facet::AttributeT<Length> width, height, minWidth, maxWidth, minHeight, maxHeight;
    Facet::AttributeT<Length> left, top, right, bottom;
    Facet::AttributeT<Edges> padding, margin;
    Facet::AttributeT<Position> position;
    Facet::AttributeT<Display> display;
    Facet::AttributeT<Alignment> align;
    Facet::AttributeT<float> gap;
    Facet::AttributeT<Angle> rotation;
    Facet::AttributeT<float> scale, opacity;
    Facet::AttributeT<Bedrock::Color> backgroundColor, borderColor;
    Facet::AttributeT<float> borderWidth, borderRadius;
    Facet::AttributeT<Overflow> overflow;
    Facet::AttributeT<bool> inputTransparent, movable, rotatable, scalable, inertia;
    Facet::AttributeT<float> minScale, maxScale;

    // ---- Tree (Widget) ------------------------------------------------------------------------------------------------
    InputGrabber grabber;
    std::vector<Bedrock::IntrusivePtr<Operator>> operators;
    std::vector<Widget*> flowOrder; ///< the children in the order they were added
    bool inTree = false;            ///< the main layer or below it

    // ---- Layout (LayoutEngine) ----------------------------------------------------------------------------------------
    struct Measure
    {
        float availableWidth = -1.f;
        Vecta::Vector2f size;
    };
    Vecta::Vector2f size;
    Vecta::Vector2f flowLocation;                                       ///< where the layout wants the widget
    float padLeft = 0.f, padTop = 0.f, padRight = 0.f, padBottom = 0.f; ///< the padding in pixels
    Measure measures[2]; ///< what contentSize said of late; a negative width is an empty entry
    int nextMeasure = 0;
    bool sizeFromContent = true; ///< the size may change with the content
    bool heightFromContent = false;
    bool arrangeDirty = true; ///< the children must be placed anew
    bool belowDirty = false;  ///< a widget further down is dirty; set on all its ancestors
    bool movePending = false; ///< waits for its flow location to be written

    // ---- Update (FrameUpdater) ----------------------------------------------------------------------------------------
    int activeIndex = -1; ///< place in the list of widgets that a frame visits
    bool updating = false;
    int operatorIndex = -1; ///< the operator that is being updated, and how many take part in this frame
    int operatorEnd = -1;

    // ---- Input (WidgetInput, MotionController) --------------------------------------------------------------------------
    int fingersHeld = 0;        ///< fingers that move this widget or came down on it
    double lastTouch = 0.0;     ///< frame time
    bool inputDisabled = false; ///< the widget and what is in it take nothing
    bool holdsFingers = false;  ///< what fingers do inside moves nothing above it
    bool fadingOut = false;     ///< likewise, as long as the widget is on its way out
    bool moving = false;        ///< slides after a release
    Vecta::Vector2f velocity;   ///< pixels of the parent per second

    // ---- Drawing (DamageTracker) ----------------------------------------------------------------------------------------
    Vecta::Rect drawnBounds; ///< scene area of the widget itself when it was last accounted for
    bool redrawQueued = false;
    bool subtreeRedrawQueued = false; ///< what is in it moved along
};
}
