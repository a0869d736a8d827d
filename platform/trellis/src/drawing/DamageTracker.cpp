#include "drawing/DamageTracker.hpp"

#include "drawing/LayerKeeper.hpp"
#include "layout/LayoutEngine.hpp"
#include "tree/DrawnPlace.hpp"
#include "tree/WidgetRecords.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Trellis
{
namespace
{
/// The edges of what is turned or scaled may colour a neighbouring pixel a little.
constexpr float kSmoothEdgePx = 0.5f;
constexpr Vecta::Rect kEverywhere{-1e7f, -1e7f, 2e7f, 2e7f};

float areaOf(const Vecta::Rect& r)
{
    return r.width * r.height;
}

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

Vecta::Rect grown(const Vecta::Rect& r, float byX, float byY)
{
    return {r.x - byX, r.y - byY, r.width + 2 * byX, r.height + 2 * byY};
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

void storeReach(const Widget& root, WidgetLayer& layer)
{
    const Vecta::Vector2f scale = screenScale();
    layer.reach = moved(grown(LayerKeeper::sceneReach(root), 1.f / scale.x, 1.f / scale.y), layer.place * -1.f);
}

bool covers(const Vecta::Rect& a, const Vecta::Rect& b)
{
    return a.x <= b.x && a.y <= b.y && a.right() >= b.right() && a.bottom() >= b.bottom();
}
}

DamageTracker::DamageTracker(LayoutEngine& layout, LayerKeeper& layers, const Vecta::Rect& scene)
    : m_layout(layout), m_layers(layers)
{
    m_areas.reserve(kMostAreas + 1);
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
    addArea(layer ? moved(drawing.drawnBounds, layer->place) : drawing.drawnBounds);
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
    m_layers.settle([this](const Vecta::Rect& area) { addArea(area); });
}

void DamageTracker::collect()
{
    // A layout that is still out of date now damages what it changes in the next frame; made here, its listeners would
    // change the queue and the tree under way.
    const Bedrock::FlagGuard layoutHeld = m_layout.hold();
    for (Widget* widget : m_queue) {
        Widget* const root = layerRootOf(*widget);
        if (root)
            m_changedRoots.push_back(root);
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
        if (WidgetLayer* layer = WidgetRecords::of(*root).drawing.layer.get())
            storeReach(*root, *layer);
        if (LayerKeeper::cover(*root))
            addArea(LayerKeeper::sceneReach(*root));
    }
    m_changedRoots.clear();
}

bool DamageTracker::isEmpty() const noexcept
{
    return m_queue.empty() && m_areas.empty() && !m_layers.isWaiting();
}

DamageTracker::Above DamageTracker::above(const Widget& widget)
{
    const Widget* const parent = widget.parent();
    if (!parent)
        return {{}, kEverywhere, true, false, nullptr, {}, {}};
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

void DamageTracker::accountFor(Widget& widget)
{
    account(widget, above(widget), WidgetRecords::of(widget).drawing.subtreeRedrawQueued ? Redraw::Subtree : Redraw::Widget);
}

void DamageTracker::account(Widget& widget, const Above& above, Redraw extent)
{
    WidgetRecords& records = WidgetRecords::of(widget);
    DrawingRecord& drawing = records.drawing;
    const bool shows = above.isVisible && records.isShown();
    const Vecta::Transform toScene = above.toScene * drawnTransformToParent(widget);
    const bool isRoot = isLayerRoot(widget);
    WidgetLayer* layer = above.layer;
    Vecta::Vector2f placeBefore = above.placeBefore, place = above.placeNow;
    if (isRoot) {
        layer = m_layers.update(widget, toScene, shows, above.clip == kEverywhere && isWholeShift(above.toScene));
        placeBefore = drawing.layer->place;
        place = drawing.layer->place = {toScene.dx, toScene.dy};
        drawing.layer->clips = drawing.clips();
    }
    // Moving a picture, or fading it, leaves its pixels as they are.
    const bool isRepainted = above.isRepainted || (isRoot ? drawing.ownRedrawQueued : drawing.redrawQueued);
    const bool areChildrenRepainted =
        above.isRepainted || (!isRoot && drawing.subtreeRedrawQueued) || (drawing.clips() && isRepainted);

    const Vecta::Transform matrix = onScreen(toScene);
    const bool isUpright = matrix.m12 == 0.f && matrix.m21 == 0.f && matrix.m11 == 1.f && matrix.m22 == 1.f;
    const auto inScene = [&](const Vecta::Rect& area) {
        const Vecta::Rect whole = toScene.mapBounds(area);
        const Vecta::Vector2f scale = screenScale();
        return isUpright || whole.isEmpty() ? whole : grown(whole, kSmoothEdgePx / scale.x, kSmoothEdgePx / scale.y);
    };
    const Vecta::Rect box = records.layout.bounds();
    addArea(moved(drawing.drawnBounds, placeBefore));
    if (isRepainted)
        damageLayer(layer, drawing.drawnBounds);
    drawing.drawnBounds = shows ? moved(inScene(drawing.drawnArea(box)).intersected(above.clip), place * -1.f) : Vecta::Rect{};
    addArea(moved(drawing.drawnBounds, place));
    if (isRepainted)
        damageLayer(layer, drawing.drawnBounds);
    drawing.redrawQueued = drawing.ownRedrawQueued = drawing.subtreeRedrawQueued = false;
    if (shows)
        widget.sceneSizeChanged();
    // What is in a picture keeps its place in it. Changes in it have been queued on their own.
    if (isRoot && layer && extent == Redraw::Subtree && !areChildrenRepainted) {
        addReach(*layer, placeBefore);
        return;
    }
    // A widget that clips its children changes what shows of them.
    if (extent == Redraw::Subtree || drawing.clips()) {
        const Vecta::Rect inner = drawing.clips() ? inScene(box).intersected(above.clip) : above.clip;
        const Above below{toScene, inner, shows, areChildrenRepainted, layer, placeBefore, place};
        for (const auto& child : widget.children())
            account(*child, below, Redraw::Subtree);
    }
    if (isRoot)
        storeReach(widget, *drawing.layer);
}

void DamageTracker::addReach(const WidgetLayer& layer, Vecta::Vector2f placeBefore)
{
    addArea(moved(layer.reach, placeBefore));
    addArea(moved(layer.reach, layer.place));
}

void DamageTracker::addArea(const Vecta::Rect& wanted)
{
    const Vecta::Rect area = wanted.intersected(m_scene);
    if (area.isEmpty() || !std::isfinite(area.x + area.y + area.width + area.height))
        return;
    for (const Vecta::Rect& known : m_areas)
        if (covers(known, area))
            return;
    m_areas.erase(std::remove_if(m_areas.begin(), m_areas.end(), [&](const Vecta::Rect& known) { return covers(area, known); }),
                  m_areas.end());
    // Something moved a little: one rectangle around both places is smaller than the two.
    const auto overlapping = std::find_if(m_areas.begin(), m_areas.end(), [&](const Vecta::Rect& known) {
        return areaOf(known.united(area)) <= areaOf(known) + areaOf(area);
    });
    if (overlapping != m_areas.end()) {
        const Vecta::Rect both = overlapping->united(area);
        m_areas.erase(overlapping);
        addArea(both);
        return;
    }
    m_areas.push_back(area);
    if (m_areas.size() <= kMostAreas)
        return;
    // Too many: the two that waste the least together become one.
    std::size_t first = 0, second = 1;
    float leastWaste = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < m_areas.size(); ++i)
        for (std::size_t j = i + 1; j < m_areas.size(); ++j) {
            const float waste = areaOf(m_areas[i].united(m_areas[j])) - areaOf(m_areas[i]) - areaOf(m_areas[j]);
            if (waste < leastWaste) {
                leastWaste = waste;
                first = i;
                second = j;
            }
        }
    m_areas[first] = m_areas[first].united(m_areas[second]);
    m_areas.erase(m_areas.begin() + std::ptrdiff_t(second));
}

void DamageTracker::setScene(const Vecta::Rect& scene)
{
    m_scene = scene;
    m_areas.clear();
    addArea(scene);
}
}
