#pragma once

#include <Bedrock/Color.hpp>
#include <Bedrock/Export.hpp>
#include <Bedrock/IntrusivePtr.hpp>
#include <Bedrock/IntrusiveWeakPtr.hpp>
#include <Bedrock/ReferenceCounted.hpp>
#include <Cascara/Styleable.hpp>
#include <Facet/AttributeT.hpp>
#include <Facet/Node.hpp>
#include <Tactile/Marker.hpp>
#include <Trellis/Length.hpp>
#include <Vecta/Rect.hpp>
#include <Vecta/Transform.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace Lantern
{
class RenderContext;
struct Corners;
}

namespace Trellis
{
class FrameInfo;
class GrabManager;
class InputGrabber;
class Operator;
struct WidgetRecords;

/// How a widget takes its place among the children of its parent.
enum class Display {
    Block,  ///< stands below the block before it, as wide as the container unless it has a width
    Inline, ///< stands in a line beside its neighbours, which wraps
    None    ///< takes no place and is neither drawn nor touched
};
/// Whether the flow decides where a widget stands.
enum class Position {
    Flow,
    Absolute ///< "left", "top", "right", "bottom" or "location" decide; the widget takes no place in the flow
};
enum class Alignment { Left, Center, Right };

/// A rectangle on the table with an appearance, children and input: base of everything that shows. Its attributes are
/// listed in docs/style-attributes.md. Main thread only.
///
/// Ownership: a parent holds strong references to its children; a child has a plain pointer to its parent. A widget that is
/// taken from its parent leaves the tree at once and is destroyed after the frame at the earliest, so a handler may remove
/// its own widget.
/// Geometry: a point p of the widget lies in the parent at location + rotate(scale * p, rotation): location is the place of
/// the top left corner, and rotation and scale are about that corner. Angles are radians, clockwise on the screen. Reading
/// a geometry brings the layout up to date first. While a keyframe animation of a style sheet scales a widget, it does so about
/// the widget's middle, which stays where it is at rest; in the frame in which the widget enters the tree all is at rest.
/// Events: "interaction-begin", "interaction-end" (the first finger comes, the last one leaves); "finger-down", "finger-up"
/// (int64 id, two floats: the place in the widget's coordinates); "single-tap" (two floats: the place; sent to the first
/// widget upwards that listens); "marker-down", "marker-up" (int64: the marker's id). A handler may remove any widget.
class TAVOLA_EXPORT Widget : public Bedrock::ReferenceCounted, public Facet::Node, public Cascara::Styleable
{
public:
    /// A widget with a parent is added to it by the constructor (the parent owns it from then on).
    explicit Widget(Widget* parent = nullptr);
    ~Widget() override;

    /// Second half of construction, to be called once when the constructors of all its classes have run: styles what the
    /// base was styled without. A widget made without it is complete by the end of the frame.
    virtual void postConstruct();

    // ---- A frame, and input -----------------------------------------------------------------------------------------

    /// Called once a frame while updating is on (`setUpdating`); a widget that nothing moves costs nothing in a frame.
    virtual void update(const FrameInfo& frame);
    /// A marker was given to this widget, or taken from the table or the widget. The base sends "marker-down" or
    /// "marker-up" with the marker's id.
    virtual void markerDown(Tactile::Marker marker, GrabManager& grabManager);
    virtual void markerUp(Tactile::Marker marker, GrabManager& grabManager);
    /// Whether this widget accepts the object. The base decides by position; a widget that is hidden or has
    /// "input-transparent" accepts none.
    virtual bool shouldGrab(GrabManager& grabManager, Tactile::TrackedObject object) const;
    /// Draws the widget itself, below its children, in its own coordinates. The base draws background and border.
    virtual void renderContent(Lantern::RenderContext& context) const;

    /// Called at the end of a frame, after the layout, in which the widget shows and its size in the scene may have changed, or
    /// its own appearance has; drawn or not. Begins what depends on that size: it may queue work, and changes neither attributes
    /// nor the tree. The base does nothing.
    virtual void sceneSizeChanged();

    [[nodiscard]] InputGrabber& inputGrabber();
    /// With false neither this widget nor anything in it receives input, whatever their styles say.
    void setInputEnabled(bool on);
    /// With true, fingers that come down on this widget or inside it move nothing above it: a widget that cannot be moved
    /// itself then holds its fingers alone. For keys and the like, which several fingers press at once.
    void setHoldsFingers(bool on);
    void setUpdating(bool on);
    [[nodiscard]] bool isUpdating() const noexcept;
    /// Ends inertia and every other motion that a touch began.
    void stopMotion();
    [[nodiscard]] bool isMoving() const noexcept;
    /// Whether any finger holds this widget.
    [[nodiscard]] bool isHeld() const noexcept;
    /// Seconds of frame time since a finger last touched this widget or anything inside it (since it was made, if never).
    [[nodiscard]] double idleSeconds() const noexcept;

    // ---- Tree -------------------------------------------------------------------------------------------------------

    [[nodiscard]] Widget* parent() const noexcept { return m_parent; }
    /// From the bottom to the top.
    [[nodiscard]] const std::vector<Bedrock::IntrusivePtr<Widget>>& children() const noexcept { return m_children; }
    /// Puts `child` on top of the children and restyles it; taken from its former parent first. A widget cannot become
    /// its own descendant (asserted).
    void addChild(Bedrock::IntrusivePtr<Widget> child);
    void addChild(Widget& child) { addChild(Bedrock::IntrusivePtr<Widget>(&child)); }
    void removeChild(Widget& child);
    void removeFromParent();
    /// To the top (or bottom) of its siblings; with `recursive` every ancestor as well. The flow keeps its order.
    void raiseToTop(bool recursive = false);
    void lowerToBottom();
    /// Whether `other` is this widget or stands somewhere below it.
    [[nodiscard]] bool isAncestorOf(const Widget& other) const noexcept;
    /// The nearest of this widget and its ancestors for which `test(widget)` holds, or null.
    template <class Test>
    [[nodiscard]] const Widget* nearest(Test test) const
    {
        const Widget* widget = this;
        while (widget && !test(*widget))
            widget = widget->m_parent;
        return widget;
    }
    template <class Test>
    [[nodiscard]] Widget* nearest(Test test)
    {
        return const_cast<Widget*>(static_cast<const Widget*>(this)->nearest(std::move(test)));
    }
    /// Descendants of that CSS type, depth first, in child order; the widget itself is not among them.
    [[nodiscard]] Widget* findByType(const QByteArray& type) const;
    [[nodiscard]] std::vector<Widget*> findAllByType(const QByteArray& type) const;

    // ---- Geometry ---------------------------------------------------------------------------------------------------

    [[nodiscard]] Vecta::Vector2f location() const;
    /// Run-time layer. The widget stands there, but keeps its place in the flow; clearing the layer lets it return.
    void setLocation(Vecta::Vector2f location);
    [[nodiscard]] Vecta::Vector2f size() const;
    [[nodiscard]] float width() const;
    [[nodiscard]] float height() const;
    void setSize(Vecta::Vector2f size);
    /// The middle of the widget, in the parent's coordinates.
    [[nodiscard]] Vecta::Vector2f centerLocation() const;
    void setCenterLocation(Vecta::Vector2f center);
    [[nodiscard]] float rotation() const;
    void setRotation(float radians);
    /// Sets the rotation and moves the location so that the widget's centre (or the scene point) stays where it is.
    void setRotationAboutCenter(float radians);
    void setRotationAboutScenePoint(float radians, Vecta::Vector2f scenePoint);
    [[nodiscard]] float scale() const;
    /// As above, but what it is without a keyframe animation that is under way. For code that looks for a place.
    [[nodiscard]] float scaleAtRest() const;
    void setScale(float scale);
    [[nodiscard]] float opacity() const;
    void setOpacity(float opacity);

    /// Between this widget's coordinates, its parent's, and the scene (the table's pixels).
    [[nodiscard]] Vecta::Vector2f mapToParent(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Vector2f mapFromParent(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Vector2f mapToScene(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Vector2f mapFromScene(Vecta::Vector2f point) const;
    [[nodiscard]] Vecta::Transform transformToParent() const;
    [[nodiscard]] Vecta::Transform transformToScene() const;
    /// Upright bounding box in the scene.
    [[nodiscard]] Vecta::Rect sceneBounds() const;
    /// Whether a point of this widget's coordinates lies on it.
    [[nodiscard]] virtual bool isInside(Vecta::Vector2f point) const;
    /// Whether the two rectangles, turned as they are, overlap in the scene. False for widgets of different trees.
    [[nodiscard]] bool intersects(const Widget& other) const;
    /// Neither this widget nor an ancestor is hidden ("display: none") or wholly transparent.
    [[nodiscard]] bool isVisible() const;

    // ---- Operators --------------------------------------------------------------------------------------------------

    /// Attaches an operator, which is updated each frame from then on. One operator belongs to one widget.
    void addOperator(Bedrock::IntrusivePtr<Operator> op);
    /// Detaches at once, with `removed`. An operator that is not attached is ignored.
    void removeOperator(Operator& op);
    [[nodiscard]] const std::vector<Bedrock::IntrusivePtr<Operator>>& operators() const noexcept;

    // ---- What a subclass calls --------------------------------------------------------------------------------------

    /// The next frame draws this widget anew.
    void requestRedraw();
    /// The parent's layout must be computed anew before it is next read.
    void requestLayout();

protected:
    /// Height (and width, where it is auto) that the content of a widget without an explicit size wants for a width in
    /// pixels; the base gives the size of its flow. Text and images override it.
    [[nodiscard]] virtual Vecta::Vector2f contentSize(float availableWidth) const;
    /// The widget without its padding, in its own coordinates.
    [[nodiscard]] Vecta::Rect contentBox() const;
    /// How round style sheets make the corners, in pixels. They may be larger than the widget.
    [[nodiscard]] Lantern::Corners cornerRadii() const;
    bool makeRareAttributes(int nameNumber) override;
    void attributeChanged(Facet::Attribute& attribute) override;
    void animationCovers(Facet::Attribute& attribute) override;
    void animationUncovers(Facet::Attribute& attribute) override;

private:
    /// The engines' way to what they keep of a widget.
    friend struct WidgetRecords;

    void rareAttributeChanged(const Facet::Attribute& attribute);
    void attachTo(Widget& parent);
    void detachFromParent();
    void enterTree();
    void leaveTree();

    Widget* m_parent = nullptr;
    std::vector<Bedrock::IntrusivePtr<Widget>> m_children;
    std::unique_ptr<WidgetRecords> d;
};
}
