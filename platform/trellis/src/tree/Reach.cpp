#include "tree/Reach.hpp"

#include "tree/DrawnPlace.hpp"
#include "tree/WidgetRecords.hpp"

#include <cmath>

namespace Trellis
{
namespace
{
bool isFinite(const Vecta::Rect& r)
{
    return std::isfinite(r.x + r.y + r.width + r.height);
}

bool isShift(const Vecta::Transform& t)
{
    return t.m11 == 1.f && t.m22 == 1.f && t.m12 == 0.f && t.m21 == 0.f;
}

void updateInside(const Widget& widget, WidgetRecords& records)
{
    Reach& reach = records.drawing.reach;
    reach.inside = records.drawing.drawnArea(records.layout.bounds());
    reach.isSmoothInside = false;
    const bool clips = records.drawing.clips();
    for (std::size_t i = 0; i < widget.children().size(); ++i) {
        prefetchAhead(widget.children(), i);
        const Widget& child = *widget.children()[i];
        if (!WidgetRecords::of(child).isShown())
            continue;
        const Reach& inner = reachOf(child);
        reach.isSmoothInside = reach.isSmoothInside || inner.isSmooth;
        // A child whose place is no number is not drawn, and keeps nothing else from being drawn.
        if (!clips && isFinite(inner.inParent))
            reach.inside = reach.inside.united(inner.inParent);
    }
}
}

void markReachStale(Widget& widget)
{
    WidgetRecords::of(widget).drawing.reach.isStale = true;
    markReachMoved(widget);
}

void markReachMoved(Widget& widget)
{
    // A hidden widget may be stale below an ancestor that is not: the widget's own marks do not end the way up.
    WidgetRecords::of(widget).drawing.reach.isMoved = true;
    for (const Widget* above = widget.parent(); above; above = above->parent()) {
        Reach& reach = WidgetRecords::of(*above).drawing.reach;
        if (reach.isStale)
            return;
        reach.isStale = true;
    }
}

const Reach& reachOf(const Widget& widget)
{
    WidgetRecords& records = WidgetRecords::of(widget);
    Reach& reach = records.drawing.reach;
    if (!reach.isStale && !reach.isMoved)
        return reach;
    if (reach.isStale)
        updateInside(widget, records);
    reach.isStale = reach.isMoved = false;
    const Vecta::Transform toParent = drawnTransformToParent(widget);
    reach.isSmooth = reach.isSmoothInside || !isShift(toParent);
    reach.inParent = toParent.mapBounds(reach.inside);
    return reach;
}
}
