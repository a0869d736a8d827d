#include "drawing/LayerKeeper.hpp"

#include "drawing/Surroundings.hpp"
#include "tree/DrawnPlace.hpp"
#include "tree/WidgetEngines.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <cmath>

namespace Trellis
{
namespace
{
bool hasMatrix(const WidgetLayer& layer, const Vecta::Transform& t)
{
    return layer.matrix[0] == t.m11 && layer.matrix[1] == t.m12 && layer.matrix[2] == t.m21 && layer.matrix[3] == t.m22;
}

/// On to pixels of the screen around the layer's place, as last accounted for.
Vecta::Transform turned(const WidgetLayer& layer)
{
    return {layer.matrix[0], layer.matrix[1], 0.f, layer.matrix[2], layer.matrix[3], 0.f};
}

bool isFinite(const Vecta::Rect& r)
{
    return std::isfinite(r.x + r.y + r.width + r.height);
}

bool isPlainBox(const Widget& widget, const Vecta::Transform& t)
{
    const DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    const bool isDecorated = drawing.pictures || !drawing.decoration->boxShadow.value().shadows.empty();
    return widget.children().empty() && !isDecorated && t.m11 == 1.f && t.m22 == 1.f && t.m12 == 0.f && t.m21 == 0.f;
}
}

void LayerKeeper::keepChildrenOf(Widget& parent)
{
    WidgetRecords::of(parent).drawing.keepsChildren = true;
    markHoldsKept(parent);
    for (const auto& child : parent.children()) {
        markReachStale(*child);
        WidgetEngines::current().appearanceChanged(*child, Redraw::Scale);
    }
}

void LayerKeeper::screenChanged(Widget& widget)
{
    if (WidgetRecords::of(widget).drawing.keepsChildren)
        keepChildrenOf(widget);
    for (const auto& child : widget.children())
        screenChanged(*child);
}

bool LayerKeeper::beginKeeping(Widget& widget)
{
    WidgetLayer& layer = *WidgetRecords::of(widget).drawing.layer;
    layer.isWaiting = false;
    layer.isKept = hasMatrix(layer, onScreen(drawnTransformToScene(widget)));
    cover(widget);
    return layer.isKept;
}

bool LayerKeeper::cover(Widget& root)
{
    WidgetLayer* const layer = WidgetRecords::of(root).drawing.layer.get();
    if (!layer || !layer->isKept)
        return false;
    const Vecta::Rect reach = turned(*layer).mapBounds(reachOf(root).inside);
    // Antialiased edges may colour a neighbouring pixel.
    return layer->picture.cover(QRectF(reach.x, reach.y, reach.width, reach.height).toAlignedRect().adjusted(-1, -1, 1, 1));
}

Vecta::Rect LayerKeeper::sceneReach(const Widget& widget)
{
    const Vecta::Transform toScene = drawnTransformToScene(*widget.parent());
    const Reach& reach = reachOf(widget);
    return sceneArea(toScene, reach.inParent, reach.isSmooth || !isUnscaled(onScreen(toScene)));
}

Outline LayerKeeper::outline(const Widget& root, const WidgetLayer& layer)
{
    const Vecta::Vector2f scale = screenScale();
    Outline result{turned(layer).mapCorners(reachOf(root).inside)};
    for (Vecta::Vector2f& corner : result.corners)
        corner = {corner.x / scale.x, corner.y / scale.y};
    return result;
}

void LayerKeeper::wait(Widget& widget, WidgetLayer& layer)
{
    if (layer.isWaiting)
        return;
    layer.isWaiting = true;
    m_waiting.push_back(&widget);
}

WidgetLayer* LayerKeeper::update(Widget& widget, const Vecta::Transform& toScene, bool mayBeKept)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    if (!drawing.layer)
        drawing.layer = std::make_unique<WidgetLayer>(m_store);
    WidgetLayer& layer = *drawing.layer;
    const Vecta::Rect& reach = reachOf(widget).inParent;
    const Vecta::Vector2f scale = screenScale();
    const Vecta::Transform matrix = onScreen(toScene);
    const bool canBeKept = mayBeKept && std::isfinite(matrix.dx + matrix.dy) && isFinite(reach) && !reach.isEmpty()
        && !isPlainBox(widget, matrix) && reach.width * scale.x * reach.height * scale.y * 4.f <= float(m_store.budgetBytes());
    if (!canBeKept || !hasMatrix(layer, matrix)) {
        layer.isKept = false;
        layer.picture.clear();
        layer.picture.setScale(scale);
        layer.matrix[0] = matrix.m11;
        layer.matrix[1] = matrix.m12;
        layer.matrix[2] = matrix.m21;
        layer.matrix[3] = matrix.m22;
    }
    if (!canBeKept)
        return nullptr;
    if (!layer.isKept) {
        wait(widget, layer);
        return nullptr;
    }
    if (layer.clips != drawing.clips())
        layer.picture.clear(); // children reach further, or less far, without having changed
    return &layer;
}

void LayerKeeper::drop(Widget& widget)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    if (drawing.layer && drawing.layer->isWaiting)
        m_waiting.erase(std::find(m_waiting.begin(), m_waiting.end(), &widget));
    drawing.layer.reset();
}
}
