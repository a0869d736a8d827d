#include "tree/BoxPainter.hpp"
#include "tree/WidgetEngines.hpp"
#include "tree/WidgetEvents.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

// What a widget does in a frame: its operators, its input, and what its attributes change.

namespace Trellis
{
using Bedrock::IntrusivePtr;

// ---- Operators -------------------------------------------------------------------------------------------------------

void Widget::addOperator(IntrusivePtr<Operator> op)
{
    assert(op && "no operator to add");
    assert(!op->styleParent() && "an operator belongs to one widget");
    d->update.operators.push_back(op);
    WidgetEngines::current().activityChanged(*this);
    op->setStyleParent(this);
    op->added(*this);
}

void Widget::removeOperator(Operator& op)
{
    auto& operators = d->update.operators;
    const auto found = std::find(operators.begin(), operators.end(), &op);
    if (found == operators.end())
        return;
    // A frame that visits the operators just now goes on with the one that follows.
    const int index = int(found - operators.begin());
    if (index < d->update.operatorEnd)
        --d->update.operatorEnd;
    if (index <= d->update.operatorIndex)
        --d->update.operatorIndex;
    const IntrusivePtr<Operator> keep = std::move(*found);
    operators.erase(found);
    WidgetEngines::current().activityChanged(*this);
    keep->setStyleParent(nullptr);
    keep->removed(*this);
}

const std::vector<IntrusivePtr<Operator>>& Widget::operators() const noexcept
{
    return d->update.operators;
}

// ---- A frame, and input ------------------------------------------------------------------------------------------------

void Widget::update(const FrameInfo&) {}

void Widget::markerDown(Tactile::Marker marker, GrabManager&)
{
    eventSendValues(WidgetEvents::kMarkerDown, marker.id());
}

void Widget::markerUp(Tactile::Marker marker, GrabManager&)
{
    eventSendValues(WidgetEvents::kMarkerUp, marker.id());
}

bool Widget::shouldGrab(GrabManager&, Tactile::TrackedObject object) const
{
    const bool isClosed = nearest([](const Widget& widget) { return widget.d->input.isClosed(); }) != nullptr;
    return !isClosed && !d->input.inputTransparent.value() && isVisible() && isInside(mapFromScene(object.centerLocation()));
}

void Widget::setInputEnabled(bool on)
{
    d->input.inputDisabled = !on;
    if (!on)
        WidgetEngines::current().dropInput(*this);
}

void Widget::sceneSizeChanged() {}

void Widget::renderContent(Lantern::RenderContext& context) const
{
    paintBox(context, size(), d->drawing);
}

void Widget::setHoldsFingers(bool on)
{
    d->input.holdsFingers = on;
}

InputGrabber& Widget::inputGrabber()
{
    return d->input.grabber;
}

void Widget::setUpdating(bool on)
{
    d->update.updating = on;
    WidgetEngines::current().activityChanged(*this);
}

bool Widget::isUpdating() const noexcept
{
    return d->update.updating;
}

void Widget::stopMotion()
{
    WidgetEngines::current().stopMotion(*this);
}

bool Widget::isMoving() const noexcept
{
    return d->motion.moving;
}

bool Widget::isHeld() const noexcept
{
    return d->input.fingersHeld > 0;
}

double Widget::idleSeconds() const noexcept
{
    return std::max(0.0, WidgetEngines::current().time() - d->input.lastTouch);
}

// ---- Changes ---------------------------------------------------------------------------------------------------------

void Widget::requestRedraw()
{
    WidgetEngines::current().appearanceChanged(*this, Redraw::Widget);
}

void Widget::requestLayout()
{
    invalidateContent(*this);
}

Vecta::Vector2f Widget::contentSize(float availableWidth) const
{
    return WidgetEngines::current().flowSize(*this, availableWidth);
}

bool Widget::makeRareAttributes(int nameNumber)
{
    return d->makeRareAttributes(*this, nameNumber);
}

void Widget::attributeChanged(Facet::Attribute& attribute)
{
    const Facet::Attribute* const a = &attribute;
    const LayoutRecord& layout = d->layout;
    const DrawingRecord& drawing = d->drawing;
    if (!isMember(attribute, *d)) {
        rareAttributeChanged(attribute);
        return;
    }
    if (a == &drawing.backgroundColor) {
        requestRedraw();
        return;
    }
    const bool movesAll = a == &layout.location || a == &layout.rotation || a == &layout.scale || a == &layout.display
        || a == &drawing.opacity || a == &drawing.overflow;
    if (movesAll) {
        markReachMoved(*this);
        WidgetEngines::current().appearanceChanged(*this, a == &layout.scale ? Redraw::Scale : Redraw::Place);
    }
    // What an overflow shows changes within the widget.
    if (a == &drawing.overflow) {
        markReachStale(*this);
        requestRedraw();
    }
    if (layout.shapesBox(attribute) || a == &drawing.overflow)
        invalidateBox(*this);
    if (a == &layout.scale)
        invalidateScale(*this);
}

void Widget::animationCovers(Facet::Attribute& attribute)
{
    LayoutRecord& layout = d->layout;
    if (&attribute != &layout.scale)
        return;
    const float before = layout.placingScale();
    layout.scaleAtRest =
        layout.scale.value(layout.scale.hasValue(Facet::kStyleLayer) ? Facet::kStyleLayer : Facet::kDefaultLayer);
    if (std::exchange(layout.scaleMoves, true) && layout.placingScale() != before)
        invalidateScale(*this);
}

void Widget::animationUncovers(Facet::Attribute& attribute)
{
    if (&attribute == &d->layout.scale)
        d->layout.scaleMoves = false;
}

/// One that a group holds, or a class derived from this one.
void Widget::rareAttributeChanged(const Facet::Attribute& attribute)
{
    const LayoutRecord& layout = d->layout;
    if (d->drawing.border.holds(attribute) || d->drawing.sides.holds(attribute) || d->drawing.corner.holds(attribute)) {
        requestRedraw();
    } else if (d->drawing.decoration.holds(attribute)) {
        markReachStale(*this);
        requestRedraw();
    } else if (d->drawing.background.holds(attribute)) {
        if (&attribute == &d->drawing.background->images)
            WidgetEngines::current().backgroundChanged(*this);
        requestRedraw();
    } else if (layout.limits.holds(attribute) || layout.insets.holds(attribute)) {
        invalidateBox(*this);
    } else if (layout.spacing.holds(attribute)) {
        if (&attribute == &layout.spacing->padding || &attribute == &layout.spacing->margin)
            invalidateBox(*this);
        else
            invalidateContent(*this);
    }
}
}
