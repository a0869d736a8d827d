#include "layout/BoxSize.hpp"

#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <cmath>

namespace Trellis
{
using Vecta::Vector2f;

namespace
{
/// Content widths are whole multiples of this part of a pixel.
constexpr float kMeasureSteps = 32.f;

/// A percentage of something that is not known is as good as auto.
bool isKnown(const Length& length, float reference)
{
    return !length.isAuto() && !(length.isRelative() && reference < 0.f);
}

float clamped(float value, const Length& least, const Length& most, float reference)
{
    if (isKnown(most, reference))
        value = std::min(value, most.resolve(reference));
    if (isKnown(least, reference))
        value = std::max(value, least.resolve(reference));
    return std::max(value, 0.f);
}

Vector2f measure(Widget& widget, float availableWidth)
{
    LayoutRecord& d = WidgetRecords::of(widget).layout;
    availableWidth = std::max(availableWidth, 0.f);
    for (const auto& entry : d.measures)
        if (entry.availableWidth == availableWidth)
            return entry.size;
    Vector2f size = WidgetRecords::contentSize(widget, availableWidth);
    // A width that paddings are added to and taken from again must not come out smaller: a text would break.
    size.x = std::ceil(size.x * kMeasureSteps) / kMeasureSteps;
    d.measures[d.nextMeasure] = {availableWidth, size};
    d.nextMeasure = d.nextMeasure == 0 ? 1 : 0;
    return size;
}
}

Vector2f boxSize(Widget& widget, const Room& room, Sizing sizing)
{
    LayoutRecord& d = WidgetRecords::of(widget).layout;
    const bool outOfFlow = d.isOutOfFlow();
    const Edges& padding = d.spacing->padding.value();
    const Edges& margin = d.spacing->margin.value();
    const float reference = widget.parent() ? room.width : 0.f;
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
    } else if (outOfFlow && !d.insets->left.value().isAuto() && !d.insets->right.value().isAuto()) {
        width = room.width - d.insets->left.value().resolve(room.width) - d.insets->right.value().resolve(room.width) - margins;
    } else {
        // A block that fills its container takes part in the width of one that shrinks to its content.
        fromContent = true;
        if (!outOfFlow && !room.shrinks && d.display.value() == Display::Block)
            width = room.width - margins;
        else
            width = measure(widget, room.width - margins - padLeft - padRight).x + padLeft + padRight;
    }
    width = clamped(width, d.limits->minWidth.value(), d.limits->maxWidth.value(), reference);

    const Length& wantedHeight = d.height.value();
    float height = 0.f;
    bool heightFromContent = false;
    if (isKnown(wantedHeight, room.height)) {
        height = wantedHeight.resolve(room.height);
    } else if (outOfFlow && room.height >= 0.f && !d.insets->top.value().isAuto() && !d.insets->bottom.value().isAuto()) {
        height = room.height - d.insets->top.value().resolve(room.height) - d.insets->bottom.value().resolve(room.height)
            - margin.top.resolve(reference) - margin.bottom.resolve(reference);
    } else {
        fromContent = heightFromContent = true;
        height = measure(widget, width - padLeft - padRight).y + padTop + padBottom;
    }
    height = clamped(height, d.limits->minHeight.value(), d.limits->maxHeight.value(), room.height);

    if (sizing == Sizing::Final) {
        d.padLeft = padLeft;
        d.padRight = padRight;
        d.padTop = padTop;
        d.padBottom = padBottom;
        d.sizeFromContent = fromContent;
        d.heightFromContent = heightFromContent;
    }
    return {width, height};
}
}
