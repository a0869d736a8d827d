#include "drawing/DamageTracker.hpp"

#include "drawing/LayerKeeper.hpp"
#include "layout/LayoutEngine.hpp"
#include "tree/DrawnPlace.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Trellis
{
namespace
{
/// The edges of what is turned or scaled may colour a neighbouring pixel a little.
constexpr float kSmoothEdgePx = 0.5f;

/// Scaled places have the accuracy of a float.
constexpr float kWholePx = 1.f / 64.f;

bool isWhole(float value)
{
    return std::abs(value - std::round(value)) <= kWholePx;
}

/// Moves by whole pixels of the screen and does nothing else.
bool isWholeShift(const Vecta::Transform& toScene)
{
    const Vecta::Transform onPixels = onScreen(toScene);
    return toScene.m11 == 1.f && toScene.m22 == 1.f && toScene.m12 == 0.f && toScene.m21 == 0.f && isWhole(onPixels.dx)
        && isWhole(onPixels.dy);
}

Vecta::Rect moved(const Vecta::Rect& r, Vecta::Vector2f by)
{
    return {r.x + by.x, r.y + by.y, r.width, r.height};
}

Vecta::Rect grown(const Vecta::Rect& r, Vecta::Vector2f by)
{
    return {r.x - by.x, r.y - by.y, r.width + 2 * by.x, r.height + 2 * by.y};
}

/// Its size on the table.
Vecta::Vector2f screenPixel()
{
    const Vecta::Vector2f scale = screenScale();
    return {1.f / scale.x, 1.f / scale.y};
}

/// `area`: of the scene, around the layer's place. Nothing for areas that are empty, or no numbers.
void damageLayer(WidgetLayer* layer, const Vecta::Rect& area)
{
    if (!layer || area.isEmpty() || !std::isfinite(area.x + area.y + area.width + area.height))
        return;
    const Vecta::Vector2f scale = screenScale();
    layer->picture.damage(
        QRectF(qreal(area.x) * scale.x, qreal(area.y) * scale.y, qreal(area.width) * scale.x, qreal(area.height) * scale.y)
            .toAlignedRect());
}

/// Of what shows in a layer root, by its direction and scale when last accounted for.
void storeOutline(const Widget& root, WidgetLayer& layer)
{
    layer.outline = layer.shows ? LayerKeeper::outline(root, layer) : Outline();
}

bool isUnscaled(const Vecta::Transform& onPixels)
{
    return onPixels.m12 == 0.f && onPixels.m21 == 0.f && onPixels.m11 == 1.f && onPixels.m22 == 1.f;
}
}

DamageTracker::DamageTracker(LayoutEngine& layout, LayerKeeper& layers, const Vecta::Rect& scene)
    : m_layout(layout), m_layers(layers)
{
    setScene(scene);
}

void DamageTracker::widgetChanged(Widget& widget, Redraw extent)
{
    WidgetRecords& records = WidgetRecords::of(widget);
    if (!records.inTree)
        return;
    (extent == Redraw::Subtree ? records.drawing.subtreeRedrawQueued : records.drawing.ownRedrawQueued) = true;
    if (extent == Redraw::Subtree || records.drawing.drawnBounds.isEmpty())
        groupChanged(widget);
    if (records.drawing.redrawQueued)
        return;
    records.drawing.redrawQueued = true;
    m_queue.push_back(&widget);
}

/// A widget that fades is rounded otherwise alone than with children that show.
void DamageTracker::groupChanged(const Widget& child)
{
    Widget* const parent = child.parent();
    if (parent && WidgetRecords::of(*parent).drawing.opacity.value() < 1.f)
        widgetChanged(*parent, Redraw::Widget);
}

void DamageTracker::widgetLeaves(Widget& widget)
{
    groupChanged(widget);
    const Widget* const root = layerRootOf(widget);
    forget(widget, root ? WidgetRecords::of(*root).drawing.layer.get() : nullptr);
}

void DamageTracker::forget(Widget& widget, WidgetLayer* layer)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    m_areas.add(layer ? moved(drawing.drawnBounds, layer->place) : drawing.drawnBounds);
    damageLayer(layer, drawing.drawnBounds);
    drawing.drawnBounds = {};
    drawing.ownRedrawQueued = drawing.subtreeRedrawQueued = false;
    if (drawing.redrawQueued) {
        drawing.redrawQueued = false;
        m_queue.erase(std::find(m_queue.begin(), m_queue.end(), &widget));
    }
    for (const auto& child : widget.children())
        forget(*child, layer);
    if (isLayerRoot(widget))
        m_layers.drop(widget);
}

void DamageTracker::keepPictures()
{
    m_layers.store().endFrame();
    m_layers.settle([this](const Vecta::Rect& area) { m_areas.add(area); });
}

void DamageTracker::collect()
{
    // A layout that is still out of date now damages what it changes in the next frame; made here, its listeners would
    // change the queue and the tree under way.
    const Bedrock::FlagGuard layoutHeld = m_layout.hold();
    m_parentOfSiblings = nullptr;
    for (std::size_t i = 0; i < m_queue.size(); ++i) {
        prefetchAheadWithChildren(m_queue, i);
        Widget* const widget = m_queue[i];
        Widget* const root = layerRootOf(*widget);
        if (root)
            contentChanged(*root);
        if (!WidgetRecords::of(*widget).drawing.redrawQueued)
            continue; // an ancestor has accounted for it already
        // Where a picture lies is known before what changed inside it.
        if (root && root != widget && WidgetRecords::of(*root).drawing.redrawQueued)
            accountFor(*root);
        if (WidgetRecords::of(*widget).drawing.redrawQueued)
            accountFor(*widget);
    }
    m_queue.clear();
    for (Widget* root : m_changedRoots) {
        WidgetLayer& layer = *WidgetRecords::of(*root).drawing.layer;
        layer.isChanged = false;
        storeOutline(*root, layer);
        if (LayerKeeper::cover(*root))
            m_areas.add(LayerKeeper::sceneReach(*root));
    }
    m_changedRoots.clear();
}

/// A root without a layer is accounted for as a whole in this turn.
void DamageTracker::contentChanged(Widget& root)
{
    WidgetLayer* const layer = WidgetRecords::of(root).drawing.layer.get();
    if (!layer || layer->isChanged)
        return;
    layer->isChanged = true;
    m_changedRoots.push_back(&root);
}

bool DamageTracker::isEmpty() const noexcept
{
    return m_queue.empty() && areas().empty() && !m_layers.isWaiting();
}

DamageTracker::Above DamageTracker::above(const Widget& widget)
{
    const Widget* const parent = widget.parent();
    if (!parent)
        return {};
    Above result = above(*parent);
    const WidgetRecords& records = WidgetRecords::of(*parent);
    result.isVisible = result.isVisible && records.isShown();
    result.toScene = result.toScene * drawnTransformToParent(*parent);
    if (records.drawing.clips())
        result.clip = result.clip.intersected(result.toScene.mapBounds(records.layout.bounds()));
    if (WidgetLayer* layer = records.drawing.layer.get()) {
        result.layer = layer->isKept ? layer : nullptr;
        result.placeBefore = result.placeNow = layer->place;
    }
    return result;
}

const DamageTracker::Above& DamageTracker::aboveSiblings(const Widget& widget)
{
    // To account for one changes nothing above it.
    if (!widget.parent() || widget.parent() != m_parentOfSiblings)
        m_aboveSiblings = above(widget);
    m_parentOfSiblings = widget.parent();
    return m_aboveSiblings;
}

void DamageTracker::accountFor(Widget& widget)
{
    account(widget, aboveSiblings(widget),
            WidgetRecords::of(widget).drawing.subtreeRedrawQueued ? Redraw::Subtree : Redraw::Widget);
}

void DamageTracker::account(Widget& widget, const Above& above, Redraw extent)
{
    WidgetRecords& records = WidgetRecords::of(widget);
    DrawingRecord& drawing = records.drawing;
    const bool shows = above.isVisible && records.isShown();
    const Vecta::Transform toScene = above.toScene * drawnTransformToParent(widget);
    const bool isUpright = isUnscaled(onScreen(toScene));
    const bool isRoot = isLayerRoot(widget);
    // A widget that clips its children changes what shows of them.
    const bool isWhole = extent == Redraw::Subtree || drawing.clips();
    if (isWhole)
        prefetchFirst(widget.children(), Prefetched::Objects);
    bool isCovered = above.isCovered;
    WidgetLayer* layer = above.layer;
    Vecta::Vector2f placeBefore = above.placeBefore, place = above.placeNow;
    if (isRoot) {
        layer = m_layers.update(widget, toScene, shows, above.clip == kEverywhere && isWholeShift(above.toScene));
        WidgetLayer& own = *drawing.layer;
        placeBefore = std::exchange(own.place, {toScene.dx, toScene.dy});
        place = own.place;
        const Outline before = own.outline.moved(placeBefore);
        // Smooth edges colour the pixels beside them a little.
        const bool isSharp = widget.children().empty() && isUpright;
        const bool wasSharp = std::exchange(own.isSharp, isSharp);
        own.clips = drawing.clips();
        own.shows = shows;
        storeOutline(widget, own);
        if (isWhole && !isCovered)
            m_areas.addMove(before, own.outline.moved(place), isSharp && wasSharp ? Vecta::Vector2f() : screenPixel());
        isCovered = isCovered || isWhole;
    }
    // Moving a picture, or fading it, leaves its pixels as they are.
    const bool isRepainted = above.isRepainted || (isRoot ? drawing.ownRedrawQueued : drawing.redrawQueued);
    const bool areChildrenRepainted =
        above.isRepainted || (!isRoot && drawing.subtreeRedrawQueued) || (drawing.clips() && isRepainted);

    const auto inScene = [&](const Vecta::Rect& area) {
        const Vecta::Rect whole = toScene.mapBounds(area);
        return isUpright || whole.isEmpty() ? whole : grown(whole, screenPixel() * kSmoothEdgePx);
    };
    if (isWhole)
        prefetchFirst(widget.children(), Prefetched::Records);
    const Vecta::Rect box = records.layout.bounds();
    if (!isCovered)
        m_areas.add(moved(drawing.drawnBounds, placeBefore));
    if (isRepainted)
        damageLayer(layer, drawing.drawnBounds);
    drawing.drawnBounds = shows ? moved(inScene(drawing.drawnArea(box)).intersected(above.clip), place * -1.f) : Vecta::Rect{};
    if (!isCovered)
        m_areas.add(moved(drawing.drawnBounds, place));
    if (isRepainted)
        damageLayer(layer, drawing.drawnBounds);
    drawing.redrawQueued = drawing.ownRedrawQueued = drawing.subtreeRedrawQueued = false;
    if (shows)
        widget.sceneSizeChanged();
    // What is in a picture keeps its place in it. Changes in it have been queued on their own.
    if (!isWhole || (isRoot && layer && extent == Redraw::Subtree && !areChildrenRepainted))
        return;
    const Vecta::Rect inner = drawing.clips() ? inScene(box).intersected(above.clip) : above.clip;
    const Above below{toScene, inner, shows, areChildrenRepainted, isCovered, layer, placeBefore, place};
    for (std::size_t i = 0; i < widget.children().size(); ++i) {
        prefetchAhead(widget.children(), i);
        account(*widget.children()[i], below, Redraw::Subtree);
    }
}

void DamageTracker::setScene(const Vecta::Rect& scene)
{
    m_areas.setScene(scene);
    m_areas.add(scene);
}
}
