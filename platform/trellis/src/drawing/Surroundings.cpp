#include "drawing/Surroundings.hpp"

#include "tree/DrawnPlace.hpp"
#include "tree/WidgetRecords.hpp"

#include <cmath>

namespace Trellis
{
namespace
{
/// The edges of what is turned or scaled may colour a neighbouring pixel a little.
constexpr float kSmoothEdgePx = 0.5f;

/// The pixels of the screen that `area` touches. What is cut off shows in them wherever it lies in the pixel, since both are
/// shares of it.
Vecta::Rect wholePixels(const Vecta::Rect& area)
{
    const Vecta::Vector2f scale = screenScale();
    const float left = std::floor(area.x * scale.x), top = std::floor(area.y * scale.y);
    const float right = std::ceil(area.right() * scale.x), bottom = std::ceil(area.bottom() * scale.y);
    return {left / scale.x, top / scale.y, (right - left) / scale.x, (bottom - top) / scale.y};
}
}

bool isUnscaled(const Vecta::Transform& transform)
{
    return transform.m12 == 0.f && transform.m21 == 0.f && transform.m11 == 1.f && transform.m22 == 1.f;
}

Vecta::Vector2f screenPixel()
{
    const Vecta::Vector2f scale = screenScale();
    return {1.f / scale.x, 1.f / scale.y};
}

Vecta::Rect sceneArea(const Vecta::Transform& toScene, const Vecta::Rect& area, bool isSmooth)
{
    if (area.isEmpty())
        return {};
    const Vecta::Rect whole = toScene.mapBounds(area);
    if (!isSmooth)
        return whole;
    const Vecta::Vector2f edge = screenPixel() * kSmoothEdgePx;
    return {whole.x - edge.x, whole.y - edge.y, whole.width + 2.f * edge.x, whole.height + 2.f * edge.y};
}

Surroundings Surroundings::of(const Widget& widget)
{
    if (const Widget* const parent = widget.parent())
        return of(*parent).within(*parent, Covered::Queued);
    Surroundings result;
    result.isUpright = isUnscaled(onScreen(result.toScene));
    return result;
}

Surroundings Surroundings::within(const Widget& parent, Covered covered) const
{
    const WidgetRecords& records = WidgetRecords::of(parent);
    const DrawingRecord& drawing = records.drawing;
    Surroundings result = *this;
    result.isVisible = result.isVisible && records.isShown();
    result.toScene = result.toScene * drawnTransformToParent(parent);
    result.isUpright = isUnscaled(onScreen(result.toScene));
    if (drawing.clips())
        result.clip = result.clip.intersected(wholePixels(sceneArea(result.toScene, records.layout.bounds(), !result.isUpright)));
    const bool isWhole = covered == Covered::All || drawing.moveQueued || drawing.childrenMoveQueued;
    // Kept pictures reach a little beyond what they show: each of them is accounted for.
    result.isCovered = result.isCovered || (isWhole && !drawing.holdsKept);
    result.isRepainted = result.isRepainted || isWhole;
    if (isLayerRoot(parent)) {
        result.layer = drawing.layer && drawing.layer->isKept ? drawing.layer.get() : nullptr;
        result.corner = {result.toScene.dx, result.toScene.dy};
        // To move a picture leaves its pixels as they are.
        result.isRepainted = false;
    }
    return result;
}
}
