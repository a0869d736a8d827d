#include "tree/DrawnPlace.hpp"

#include "tree/WidgetEngines.hpp"
#include "tree/WidgetRecords.hpp"

#include <cmath>

namespace Trellis
{
bool isLayerRoot(const Widget& widget)
{
    return widget.parent() && WidgetRecords::of(*widget.parent()).drawing.keepsChildren;
}

void markHoldsKept(Widget& widget)
{
    for (Widget* above = &widget; above && !WidgetRecords::of(*above).drawing.holdsKept; above = above->parent())
        WidgetRecords::of(*above).drawing.holdsKept = true;
}

Vecta::Vector2f drawnCornerInParent(const Widget& widget)
{
    const Vecta::Vector2f corner = WidgetRecords::of(widget).layout.cornerInParent();
    if (!isLayerRoot(widget))
        return corner;
    const Vecta::Vector2f scale = screenScale();
    return {std::floor(corner.x * scale.x + 0.5f) / scale.x, std::floor(corner.y * scale.y + 0.5f) / scale.y};
}

Vecta::Transform drawnTransformToParent(const Widget& widget)
{
    Vecta::Transform transform = WidgetRecords::of(widget).layout.transformToParent();
    const Vecta::Vector2f corner = drawnCornerInParent(widget);
    transform.dx = corner.x;
    transform.dy = corner.y;
    return transform;
}

Vecta::Transform drawnTransformToScene(const Widget& widget)
{
    Vecta::Transform transform = drawnTransformToParent(widget);
    for (const Widget* above = widget.parent(); above; above = above->parent())
        transform = drawnTransformToParent(*above) * transform;
    return transform;
}

Vecta::Vector2f screenScale()
{
    return WidgetEngines::current().screenScale();
}

Vecta::Transform onScreen(const Vecta::Transform& t)
{
    const Vecta::Vector2f scale = screenScale();
    return {t.m11 * scale.x, t.m12 * scale.x, t.dx * scale.x, t.m21 * scale.y, t.m22 * scale.y, t.dy * scale.y};
}

Widget* layerRootOf(Widget& widget)
{
    return widget.nearest([](const Widget& w) { return isLayerRoot(w); });
}
}
