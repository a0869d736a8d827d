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
    return isUnscaled(toScene) && isWhole(onPixels.dx) && isWhole(onPixels.dy);
}

Vecta::Rect moved(const Vecta::Rect& r, Vecta::Vector2f by)
{
    return {r.x + by.x, r.y + by.y, r.width, r.height};
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

void prefetchEntry(const Widget& widget, const Widget& later)
{
    WidgetRecords::prefetchRecords(widget);
    WidgetRecords::prefetch(later);
}
}

DamageTracker::DamageTracker(LayoutEngine& layout, LayerKeeper& layers, const Vecta::Rect& scene)
    : m_layout(layout), m_layers(layers)
{
    setScene(scene);
}

void DamageTracker::widgetChanged(Widget& widget, Redraw extent)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    if (!drawing.inTree)
        return;
    const bool isShown = WidgetRecords::of(widget).isShown();
    if (extent == Redraw::Place && drawing.wasShown == isShown && isAccountedForByParent(widget))
        return;
    switch (extent) {
    case Redraw::Widget: drawing.ownRedrawQueued = true; break;
    case Redraw::Scale: drawing.scaleQueued = true; [[fallthrough]];
    case Redraw::Place: drawing.moveQueued = true; break;
    case Redraw::Children:
        if (drawing.holdsKept)
            return; // these are placed one by one
        drawing.childrenMoveQueued = true;
        break;
    }
    if (extent == Redraw::Place || extent == Redraw::Scale || !drawing.wasShown)
        groupChanged(widget);
    if (drawing.redrawQueued)
        return;
    drawing.redrawQueued = true;
    m_queue.push_back(&widget);
    if (drawing.wasShown)
        m_before.push_back({&widget, drawing.reach.inParent, drawing.reach.isSmooth});
}

bool DamageTracker::isAccountedForByParent(const Widget& widget)
{
    return widget.parent() && WidgetRecords::of(*widget.parent()).drawing.childrenMoveQueued;
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
    forget(widget, Surroundings::of(widget));
}

void DamageTracker::forget(Widget& widget, const Surroundings& above)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    Before last;
    if (drawing.wasShown)
        last = {&widget, drawing.reach.inParent, drawing.reach.isSmooth};
    if (drawing.redrawQueued) {
        m_queue.erase(std::find(m_queue.begin(), m_queue.end(), &widget));
        const auto known = std::find_if(m_before.begin(), m_before.end(), [&](const Before& b) { return b.widget == &widget; });
        last = known != m_before.end() ? *known : Before{};
        if (known != m_before.end())
            m_before.erase(known);
    }
    const WidgetLayer* const layer = drawing.layer.get();
    if (layer && !above.isCovered)
        m_areas.addMove(layer->outline.moved(layer->place), {}, layer->isSharp ? Vecta::Vector2f() : screenPixel());
    else if (!layer)
        damage(above, areaBefore(last, above));
    const Surroundings inside = above.within(widget, Surroundings::Covered::All);
    drawing.wasShown = drawing.redrawQueued = drawing.ownRedrawQueued = drawing.moveQueued = drawing.scaleQueued =
        drawing.childrenMoveQueued = false;
    for (const auto& child : widget.children())
        forget(*child, inside);
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
    if (!m_queue.empty())
        (void)reachOf(*m_queue.front()->nearest([](const Widget& widget) { return !widget.parent(); }));
    constexpr std::size_t kRecordsAhead = 3, kObjectsAhead = 6;
    auto before = m_before.cbegin();
    for (std::size_t i = 0; i < m_queue.size(); ++i) {
        if (i + kObjectsAhead < m_queue.size())
            prefetchEntry(*m_queue[i + kRecordsAhead], *m_queue[i + kObjectsAhead]);
        const bool wasShown = before != m_before.cend() && before->widget == m_queue[i];
        accountFor(*m_queue[i], wasShown ? *before++ : Before{});
    }
    for (Widget* const widget : m_queue) {
        DrawingRecord& drawing = WidgetRecords::of(*widget).drawing;
        drawing.wasShown = WidgetRecords::of(*widget).isShown();
        drawing.redrawQueued = drawing.ownRedrawQueued = drawing.moveQueued = drawing.scaleQueued = drawing.childrenMoveQueued =
            false;
    }
    m_queue.clear();
    m_before.clear();
    for (Widget* root : m_changedRoots) {
        WidgetLayer& layer = *WidgetRecords::of(*root).drawing.layer;
        layer.isChanged = false;
        storeOutline(*root, layer);
        if (LayerKeeper::cover(*root))
            m_areas.add(LayerKeeper::sceneReach(*root));
    }
    m_changedRoots.clear();
    m_areas.joinMany();
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

const Surroundings& DamageTracker::aboveSiblings(const Widget& widget)
{
    // To account for one changes nothing above it.
    if (!widget.parent() || widget.parent() != m_parentOfSiblings) {
        m_aboveSiblings = Surroundings::of(widget);
        m_rootAboveSiblings = widget.parent() ? layerRootOf(*widget.parent()) : nullptr;
    }
    m_parentOfSiblings = widget.parent();
    return m_aboveSiblings;
}

Vecta::Rect DamageTracker::areaBefore(const Before& before, const Surroundings& above)
{
    if (!above.isVisible)
        return {};
    return sceneArea(above.toScene, before.reach, !above.isUpright || before.isSmooth).intersected(above.clip);
}

void DamageTracker::damage(const Surroundings& above, const Vecta::Rect& area)
{
    if (!above.isCovered)
        m_areas.add(area);
    if (!above.isRepainted)
        damageLayer(above.layer, moved(area, above.corner * -1.f));
}

/// The widget itself, whose place is what it was.
void DamageTracker::damageBox(const Widget& widget, const Surroundings& above, const Vecta::Transform& toScene)
{
    const WidgetRecords& records = WidgetRecords::of(widget);
    const DrawingRecord& drawing = records.drawing;
    const bool isSmooth = !isUnscaled(onScreen(toScene));
    if (above.isVisible && drawing.wasShown)
        damage(above, sceneArea(toScene, drawing.drawnBox, isSmooth).intersected(above.clip));
    if (above.isVisible && records.isShown())
        damage(above, sceneArea(toScene, drawing.drawnArea(records.layout.bounds()), isSmooth).intersected(above.clip));
}

void DamageTracker::accountFor(Widget& widget, const Before& before)
{
    const Surroundings& above = aboveSiblings(widget);
    WidgetRecords& records = WidgetRecords::of(widget);
    DrawingRecord& drawing = records.drawing;
    const bool isRoot = isLayerRoot(widget);
    if (Widget* const root = isRoot ? &widget : m_rootAboveSiblings)
        contentChanged(*root);
    const Vecta::Transform toScene = above.toScene * drawnTransformToParent(widget);
    const bool isSmooth = drawing.reach.isSmooth || !isUnscaled(onScreen(toScene));
    const bool shows = above.isVisible && records.isShown();
    const bool isWhole = drawing.moveQueued || drawing.childrenMoveQueued;
    if (isRoot) {
        Surroundings own = above;
        own.layer = accountForRoot(widget, above, toScene, isWhole || drawing.clips());
        own.corner = {toScene.dx, toScene.dy};
        own.isCovered = above.isCovered || isWhole || drawing.clips();
        own.isRepainted = false;
        if (own.layer && drawing.childrenMoveQueued)
            own.layer->picture.damage(own.layer->picture.bounds());
        if (drawing.ownRedrawQueued)
            damageBox(widget, own, toScene);
    } else if (isWhole) {
        damage(above, areaBefore(before, above));
        if (shows)
            damage(above, sceneArea(toScene, drawing.reach.inside, isSmooth).intersected(above.clip));
    } else {
        damageBox(widget, above, toScene);
    }
    if (drawing.ownRedrawQueued)
        drawing.drawnBox = drawing.drawnArea(records.layout.bounds());
    if (isWhole && drawing.holdsKept)
        accountForRootsIn(widget, above.within(widget, Surroundings::Covered::Queued));
    if (shows && reportsSizes(widget))
        reportSizes(widget);
    else if (shows && drawing.ownRedrawQueued)
        widget.sceneSizeChanged();
}

/// Of a widget that waits to be accounted for.
bool DamageTracker::reportsSizes(const Widget& widget)
{
    const DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    return drawing.scaleQueued || (drawing.moveQueued && !drawing.wasShown);
}

void DamageTracker::reportSizes(Widget& widget)
{
    widget.sceneSizeChanged();
    for (const auto& child : widget.children())
        if (WidgetRecords::of(*child).isShown() && !reportsSizes(*child))
            reportSizes(*child);
}

/// Makes or updates the layer of `root`, and returns it if it is kept.
WidgetLayer* DamageTracker::accountForRoot(Widget& root, const Surroundings& above, const Vecta::Transform& toScene, bool isWhole)
{
    const WidgetRecords& records = WidgetRecords::of(root);
    const bool shows = above.isVisible && records.isShown();
    const bool isPlain = above.clip == Surroundings::kEverywhere && isWholeShift(above.toScene);
    WidgetLayer* const kept = m_layers.update(root, toScene, shows && isPlain);
    WidgetLayer& layer = *records.drawing.layer;
    const Outline before = layer.outline.moved(layer.place);
    layer.place = {toScene.dx, toScene.dy};
    // Smooth edges colour the pixels beside them a little.
    const bool isSharp = root.children().empty() && isUnscaled(onScreen(toScene));
    const bool wasSharp = std::exchange(layer.isSharp, isSharp);
    layer.clips = records.drawing.clips();
    layer.shows = shows;
    storeOutline(root, layer);
    if (isWhole && !above.isCovered)
        m_areas.addMove(before, layer.outline.moved(layer.place), isSharp && wasSharp ? Vecta::Vector2f() : screenPixel());
    return kept;
}

/// What the roots in `widget` stand in has moved.
void DamageTracker::accountForRootsIn(const Widget& widget, const Surroundings& inside)
{
    for (const auto& child : widget.children()) {
        if (isLayerRoot(*child))
            accountForRoot(*child, inside, inside.toScene * drawnTransformToParent(*child), true);
        if (WidgetRecords::of(*child).drawing.holdsKept)
            accountForRootsIn(*child, inside.within(*child, Surroundings::Covered::Queued));
    }
}

void DamageTracker::setScene(const Vecta::Rect& scene)
{
    m_areas.setScene(scene);
    m_areas.add(scene);
}
}
