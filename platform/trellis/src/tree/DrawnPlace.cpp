#include "tree/DrawnPlace.hpp"

#include "tree/WidgetRecords.hpp"

#include <cmath>

namespace Trellis
{
bool isLayerRoot(const Widget& widget)
{
    return widget.parent() && WidgetRecords::of(*widget.parent()).drawing.keepsChildren;
}

Vecta::Transform drawnTransformToParent(const Widget& widget)
{
    Vecta::Transform transform = WidgetRecords::of(widget).layout.transformToParent();
    if (isLayerRoot(widget)) {
        transform.dx = std::floor(transform.dx + 0.5f);
        transform.dy = std::floor(transform.dy + 0.5f);
    }
    return transform;
}

Vecta::Transform drawnTransformToScene(const Widget& widget)
{
    Vecta::Transform transform = drawnTransformToParent(widget);
    for (const Widget* above = widget.parent(); above; above = above->parent())
        transform = drawnTransformToParent(*above) * transform;
    return transform;
}

Widget* layerRootOf(Widget& widget)
{
    return widget.nearest([](const Widget& w) { return isLayerRoot(w); });
}
}
