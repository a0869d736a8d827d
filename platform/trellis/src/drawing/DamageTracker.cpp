#include "drawing/DamageTracker.hpp"

#include "layout/LayoutEngine.hpp"
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

bool covers(const Vecta::Rect& a, const Vecta::Rect& b)
{
    return a.x <= b.x && a.y <= b.y && a.right() >= b.right() && a.bottom() >= b.bottom();
}
}

DamageTracker::DamageTracker(LayoutEngine& layout, const Vecta::Rect& scene) : m_layout(layout)
{
    m_areas.reserve(kMostAreas + 1);
    setScene(scene);
}

void DamageTracker::widgetChanged(Widget& widget, Redraw extent)
{
    WidgetRecords& records = WidgetRecords::of(widget);
    if (!records.inTree)
        return;
    if (extent == Redraw::Subtree)
        records.drawing.subtreeRedrawQueued = true;
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
    forget(widget);
}

void DamageTracker::forget(Widget& widget)
{
    DrawingRecord& drawing = WidgetRecords::of(widget).drawing;
    addArea(drawing.drawnBounds);
    drawing.drawnBounds = {};
    drawing.subtreeRedrawQueued = false;
    if (drawing.redrawQueued) {
        drawing.redrawQueued = false;
        m_queue.erase(std::find(m_queue.begin(), m_queue.end(), &widget));
    }
    for (const auto& child : widget.children())
        forget(*child);
}

void DamageTracker::collect()
{
    // A layout that is still out of date now damages what it changes in the next frame; made here, its listeners would
    // change the queue and the tree under way.
    const Bedrock::FlagGuard layoutHeld = m_layout.hold();
    for (Widget* widget : m_queue) {
        const DrawingRecord& drawing = WidgetRecords::of(*widget).drawing;
        if (!drawing.redrawQueued)
            continue; // an ancestor has accounted for it already
        Vecta::Transform toScene;
        Vecta::Rect clip = kEverywhere;
        bool visible = true;
        if (const Widget* parent = widget->parent()) {
            visible = parent->isVisible();
            toScene = parent->transformToScene();
            for (const Widget* above = parent; above; above = above->parent())
                if (WidgetRecords::of(*above).drawing.clips())
                    clip = clip.intersected(above->sceneBounds());
        }
        account(*widget, toScene, clip, visible, drawing.subtreeRedrawQueued ? Redraw::Subtree : Redraw::Widget);
    }
    m_queue.clear();
}

void DamageTracker::account(Widget& widget, const Vecta::Transform& parentToScene, const Vecta::Rect& clip, bool visible,
                            Redraw extent)
{
    WidgetRecords& records = WidgetRecords::of(widget);
    DrawingRecord& drawing = records.drawing;
    const bool shows = visible && records.isShown();
    const Vecta::Transform toScene = parentToScene * records.layout.transformToParent();
    const bool isUpright = toScene.m12 == 0.f && toScene.m21 == 0.f && toScene.m11 == 1.f && toScene.m22 == 1.f;
    Vecta::Rect whole = toScene.mapBounds(records.layout.bounds());
    if (!isUpright && !whole.isEmpty())
        whole = {whole.x - kSmoothEdgePx, whole.y - kSmoothEdgePx, whole.width + 2 * kSmoothEdgePx,
                 whole.height + 2 * kSmoothEdgePx};
    addArea(drawing.drawnBounds);
    drawing.drawnBounds = shows ? whole.intersected(clip) : Vecta::Rect{};
    addArea(drawing.drawnBounds);
    drawing.redrawQueued = drawing.subtreeRedrawQueued = false;
    // A widget that clips its children changes what shows of them.
    if (extent == Redraw::Widget && !drawing.clips())
        return;
    const Vecta::Rect inner = drawing.clips() ? whole.intersected(clip) : clip;
    for (const auto& child : widget.children())
        account(*child, toScene, inner, shows, Redraw::Subtree);
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
