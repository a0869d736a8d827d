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
    if (reach.isStale) {
        reach.inside = records.drawing.drawnArea(records.layout.bounds());
        if (!records.drawing.clips())
            for (const auto& child : widget.children()) {
                if (!WidgetRecords::of(*child).isShown())
                    continue;
                // A child whose place is no number is not drawn, and keeps nothing else from being drawn.
                if (const Vecta::Rect& inner = reachOf(*child).inParent; isFinite(inner))
                    reach.inside = reach.inside.united(inner);
            }
    }
    reach.isStale = reach.isMoved = false;
    reach.inParent = drawnTransformToParent(widget).mapBounds(reach.inside);
    return reach;
}
}
