#include "layout/LayoutEngine.hpp"

#include "drawing/DamageTracker.hpp"
#include "tree/WidgetPrivate.hpp"

#include <algorithm>
#include <cmath>

namespace Trellis
{
using Vecta::Vector2f;

namespace
{
/// Room that never ends, for a widget without parent. Not infinite, so that sums and halves stay numbers.
constexpr float kUnlimited = 1e6f;
/// Three boxes of a third must fit in a line, whatever the sum of rounded thirds is.
constexpr float kTolerancePx = 0.05f;
constexpr int kMostRounds = 4;
/// Content widths are whole multiples of this part of a pixel.
constexpr float kMeasureSteps = 32.f;

bool layoutRuns = false;
long arrangedCount = 0;
std::vector<Bedrock::IntrusivePtr<Widget>> pendingMoves;

float clamped(float value, const Length& least, const Length& most, float reference)
{
    if (!most.isAuto() && !(most.unit == Length::Unit::Percent && reference < 0.f))
        value = std::min(value, most.resolve(reference));
    if (!least.isAuto() && !(least.unit == Length::Unit::Percent && reference < 0.f))
        value = std::max(value, least.resolve(reference));
    return std::max(value, 0.f);
}

/// A percentage of something that is not known is as good as auto.
bool isKnown(const Length& length, float reference)
{
    return !length.isAuto() && !(length.unit == Length::Unit::Percent && reference < 0.f);
}
}

long LayoutEngine::widgetsArranged() noexcept
{
    return arrangedCount;
}

bool LayoutEngine::isOutOfFlow(const Widget& widget)
{
    return widget.d->position.value() == Position::Absolute || widget.d->location.hasValue(Facet::kStyleLayer);
}

bool LayoutEngine::isDirty(const Widget& root)
{
    return root.d->arrangeDirty || root.d->belowDirty;
}

// ---- What is dirty ---------------------------------------------------------------------------------------------------

void LayoutEngine::markBelowDirty(Widget* widget)
{
    for (; widget && !widget->d->belowDirty; widget = widget->m_parent)
        widget->d->belowDirty = true;
}

void LayoutEngine::invalidateContent(Widget& widget)
{
    auto& d = *widget.d;
    d.arrangeDirty = true;
    for (auto& entry : d.measures)
        entry.availableWidth = -1.f;
    Widget* parent = widget.m_parent;
    if (!parent)
        return;
    if (!d.sizeFromContent) {
        markBelowDirty(parent);
    } else if (isOutOfFlow(widget)) {
        parent->d->arrangeDirty = true;
        markBelowDirty(parent->m_parent);
    } else {
        invalidateContent(*parent);
    }
}

void LayoutEngine::invalidateBox(Widget& widget)
{
    widget.d->sizeFromContent = true; // Until the layout knows better, the change may reach every ancestor.
    widget.d->arrangeDirty = true;
    for (auto& entry : widget.d->measures)
        entry.availableWidth = -1.f;
    if (widget.m_parent)
        invalidateContent(*widget.m_parent);
}

void LayoutEngine::bringUpToDate(const Widget& widget)
{
    if (layoutRuns)
        return;
    // Listeners to places may change the layout again; who answers each change with another one gets no further.
    for (int round = 0; round < kMostRounds; ++round) {
        const Widget* root = &widget;
        while (root->m_parent)
            root = root->m_parent;
        if (!isDirty(*root))
            return;
        {
            const Bedrock::FlagGuard running(layoutRuns);
            layOut(const_cast<Widget&>(*root), Room{kUnlimited, -1.f, true});
        }
        deliverMoves();
    }
}

Bedrock::FlagGuard LayoutEngine::hold()
{
    return Bedrock::FlagGuard(layoutRuns);
}

// ---- Sizes -----------------------------------------------------------------------------------------------------------

Vector2f LayoutEngine::measure(Widget& widget, float availableWidth)
{
    auto& d = *widget.d;
    availableWidth = std::max(availableWidth, 0.f);
    for (const auto& entry : d.measures)
        if (entry.availableWidth == availableWidth)
            return entry.size;
    Vector2f size = widget.contentSize(availableWidth);
    // A width that paddings are added to and taken from again must not come out smaller: a text would break.
    size.x = std::ceil(size.x * kMeasureSteps) / kMeasureSteps;
    d.measures[d.nextMeasure] = {availableWidth, size};
    d.nextMeasure = 1 - d.nextMeasure;
    return size;
}

/// With `final` the box is the one that counts, and the paddings in pixels are remembered.
Vector2f LayoutEngine::boxSize(Widget& widget, const Room& room, bool final)
{
    auto& d = *widget.d;
    const bool outOfFlow = isOutOfFlow(widget);
    const Edges& padding = d.padding.value();
    const Edges& margin = d.margin.value();
    const float reference = widget.m_parent ? room.width : 0.f;
    const float padLeft = padding.left.resolve(reference);
    const float padRight = padding.right.resolve(reference);
    const float padTop = padding.top.resolve(reference);
    const float padBottom = padding.bottom.resolve(reference);
    const float margins = margin.left.resolve(reference) + margin.right.resolve(reference);
    bool fromContent = false;

    const Length& wantedWidth = d.width.value();
    float width = 0.f;
    if (!wantedWidth.isAuto()) {
        width = wantedWidth.resolve(reference);
    } else if (outOfFlow && !d.left.value().isAuto() && !d.right.value().isAuto()) {
        width = room.width - d.left.value().resolve(room.width) - d.right.value().resolve(room.width) - margins;
    } else {
        // A block that fills its container takes part in the width of one that shrinks to its content.
        fromContent = true;
        if (!outOfFlow && !room.shrinks && d.display.value() == Display::Block)
            width = room.width - margins;
        else
            width = measure(widget, room.width - margins - padLeft - padRight).x + padLeft + padRight;
    }
    width = clamped(width, d.minWidth.value(), d.maxWidth.value(), reference);

    const Length& wantedHeight = d.height.value();
    float height = 0.f;
    bool heightFromContent = false;
    if (isKnown(wantedHeight, room.height)) {
        height = wantedHeight.resolve(room.height);
    } else if (outOfFlow && room.height >= 0.f && !d.top.value().isAuto() && !d.bottom.value().isAuto()) {
        height = room.height - d.top.value().resolve(room.height) - d.bottom.value().resolve(room.height)
            - margin.top.resolve(reference) - margin.bottom.resolve(reference);
    } else {
        fromContent = heightFromContent = true;
        height = measure(widget, width - padLeft - padRight).y + padTop + padBottom;
    }
    height = clamped(height, d.minHeight.value(), d.maxHeight.value(), room.height);

    if (final) {
        d.padLeft = padLeft;
        d.padRight = padRight;
        d.padTop = padTop;
        d.padBottom = padBottom;
        d.sizeFromContent = fromContent;
        d.heightFromContent = heightFromContent;
    }
    return {width, height};
}

Vector2f LayoutEngine::flowSize(const Widget& widget, float availableWidth)
{
    return flow(const_cast<Widget&>(widget), Room{availableWidth, -1.f, true}, false);
}

// ---- The flow --------------------------------------------------------------------------------------------------------

struct LayoutEngine::Line
{
    std::size_t first = 0; ///< index of the first child in it, and of the child after the last
    std::size_t end = 0;
    bool isEmpty = true;
    float width = 0.f;
    float height = 0.f;
    float top = 0.f;
    float widest = 0.f; ///< of all lines so far
    bool any = false;   ///< something stands above
};

/// Moves the line's widgets to where the alignment wants them, and goes to below the line.
void LayoutEngine::finishLine(Widget& widget, const Room& room, Line& line, bool place)
{
    if (line.isEmpty)
        return;
    const auto& d = *widget.d;
    if (place && d.align.value() != Alignment::Left) {
        const float share = d.align.value() == Alignment::Center ? 0.5f : 1.f;
        const float shift = std::max(0.f, room.width - line.width) * share;
        for (std::size_t i = line.first; i < line.end; ++i) {
            Widget& child = *d.flowOrder[i];
            if (child.d->display.value() == Display::Inline && !isOutOfFlow(child))
                child.d->flowLocation.x += shift;
        }
    }
    line.widest = std::max(line.widest, line.width);
    line.top += line.height;
    line.width = line.height = 0.f;
    line.isEmpty = true;
    line.any = true;
}

Vector2f LayoutEngine::flow(Widget& widget, const Room& room, bool place)
{
    auto& d = *widget.d;
    const float gap = std::max(0.f, d.gap.value());
    Line line;
    for (std::size_t i = 0; i < d.flowOrder.size(); ++i) {
        Widget& child = *d.flowOrder[i];
        auto& c = *child.d;
        if (c.display.value() == Display::None || isOutOfFlow(child))
            continue;
        if (place)
            layOut(child, room);
        const Vector2f box = (place ? c.size : boxSize(child, room, false)) * std::max(0.f, c.scale.value());
        const Edges& margin = c.margin.value();
        const float marginLeft = margin.left.resolve(room.width);
        const float marginTop = margin.top.resolve(room.width);
        const float outerWidth = marginLeft + box.x + margin.right.resolve(room.width);
        const float outerHeight = marginTop + box.y + margin.bottom.resolve(room.width);

        if (c.display.value() == Display::Block) {
            finishLine(widget, room, line, place);
            if (line.any)
                line.top += gap;
            if (place) {
                float x = marginLeft;
                const float rest = room.width - outerWidth;
                if (margin.left.isAuto() && rest > 0.f)
                    x += margin.right.isAuto() ? rest / 2.f : rest;
                c.flowLocation = {d.padLeft + x, d.padTop + line.top + marginTop};
            }
            line.widest = std::max(line.widest, outerWidth);
            line.top += outerHeight;
            line.any = true;
            continue;
        }

        if (!line.isEmpty && line.width + gap + outerWidth > room.width + kTolerancePx)
            finishLine(widget, room, line, place);
        if (line.isEmpty) {
            if (line.any)
                line.top += gap;
            line.first = i;
            line.isEmpty = false;
        } else {
            line.width += gap;
        }
        if (place)
            c.flowLocation = {d.padLeft + line.width + marginLeft, d.padTop + line.top + marginTop};
        line.width += outerWidth;
        line.height = std::max(line.height, outerHeight);
        line.end = i + 1;
    }
    finishLine(widget, room, line, place);
    return {line.widest, line.top};
}

void LayoutEngine::layOut(Widget& widget, const Room& room)
{
    auto& d = *widget.d;
    const float padsBefore[] = {d.padLeft, d.padTop, d.padRight, d.padBottom};
    const Vector2f size = boxSize(widget, room, true);
    const bool resized = size != d.size;
    if (resized) {
        DamageTracker::widgetChanged(widget, DamageTracker::Extent::Widget);
        d.size = size;
    }
    const bool padded =
        padsBefore[0] != d.padLeft || padsBefore[1] != d.padTop || padsBefore[2] != d.padRight || padsBefore[3] != d.padBottom;
    if (d.arrangeDirty || resized || padded)
        arrange(widget);
    else if (d.belowDirty)
        descend(widget);
}

void LayoutEngine::arrange(Widget& widget)
{
    auto& d = *widget.d;
    ++arrangedCount;
    d.arrangeDirty = false;
    d.belowDirty = false;
    // A share of a height that itself follows from the content would be a circle.
    const float height = d.heightFromContent ? -1.f : std::max(0.f, d.size.y - d.padTop - d.padBottom);
    const Room room{std::max(0.f, d.size.x - d.padLeft - d.padRight), height, false};
    flow(widget, room, true);
    for (Widget* child : d.flowOrder) {
        if (child->d->display.value() == Display::None) {
            // Takes no place, but its geometry can be read.
            layOut(*child, room);
            continue;
        }
        if (isOutOfFlow(*child))
            placeAbsolute(widget, *child);
        moveTo(*child, child->d->flowLocation);
    }
}

void LayoutEngine::placeAbsolute(Widget& widget, Widget& child)
{
    const Vector2f whole = widget.d->size;
    layOut(child, Room{whole.x, whole.y, false});
    const auto& c = *child.d;
    const Vector2f box = c.size * std::max(0.f, c.scale.value());
    const Edges& margin = c.margin.value();
    const auto along = [&](const Length& near, const Length& far, const Length& marginNear, const Length& marginFar, float extent,
                           float boxExtent) {
        const float before = marginNear.resolve(whole.x);
        const float after = marginFar.resolve(whole.x);
        if (near.isAuto() && far.isAuto())
            return before;
        if (near.isAuto())
            return extent - far.resolve(extent) - after - boxExtent;
        const float start = near.resolve(extent);
        const float rest = far.isAuto() ? 0.f : extent - start - far.resolve(extent) - boxExtent;
        if (!far.isAuto() && marginNear.isAuto())
            return start + (marginFar.isAuto() ? rest / 2.f : rest - after);
        return start + before;
    };
    child.d->flowLocation = {along(c.left.value(), c.right.value(), margin.left, margin.right, whole.x, box.x),
                             along(c.top.value(), c.bottom.value(), margin.top, margin.bottom, whole.y, box.y)};
}

/// The widget stands as it did, but something below it is dirty.
void LayoutEngine::descend(Widget& widget)
{
    auto& d = *widget.d;
    d.belowDirty = false;
    for (Widget* child : d.flowOrder) {
        if (child->d->arrangeDirty)
            arrange(*child);
        else if (child->d->belowDirty)
            descend(*child);
    }
}

// ---- Telling the widgets ---------------------------------------------------------------------------------------------

void LayoutEngine::moveTo(Widget& child, Vector2f location)
{
    auto& d = *child.d;
    if (d.movePending || d.location.value(Facet::kDefaultLayer) == location)
        return;
    d.movePending = true;
    pendingMoves.emplace_back(&child);
}

void LayoutEngine::deliverMoves()
{
    // A listener may read geometry, and so start a layout that delivers all the rest itself.
    while (!pendingMoves.empty()) {
        const Bedrock::IntrusivePtr<Widget> widget = std::move(pendingMoves.back());
        pendingMoves.pop_back();
        widget->d->movePending = false;
        widget->d->location.setValue(widget->d->flowLocation, Facet::kDefaultLayer);
    }
}
}
