#include "drawing/DamageTracker.hpp"

#include "layout/LayoutEngine.hpp"
#include "tree/WidgetPrivate.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace Trellis
{
namespace
{
/// The edges of what is turned or scaled may colour a neighbouring pixel a little.
constexpr float kSmoothEdgePx = 0.5f;
constexpr Vecta::Rect kEverywhere{-1e7f, -1e7f, 2e7f, 2e7f};

DamageTracker* current = nullptr;

float areaOf(const Vecta::Rect& r)
{
    return r.width * r.height;
}

bool covers(const Vecta::Rect& a, const Vecta::Rect& b)
{
    return a.x <= b.x && a.y <= b.y && a.right() >= b.right() && a.bottom() >= b.bottom();
}
}

DamageTracker::DamageTracker(const Vecta::Rect& scene)
{
    assert(!current && "one application per process");
    current = this;
    m_areas.reserve(kMostAreas + 1);
    setScene(scene);
}

DamageTracker::~DamageTracker()
{
    current = nullptr;
}

void DamageTracker::widgetChanged(Widget& widget, Extent extent)
{
    auto& d = *widget.d;
    if (!current || !d.inTree)
        return;
    if (extent == Extent::Subtree)
        d.subtreeRedrawQueued = true;
    if (d.redrawQueued)
        return;
    d.redrawQueued = true;
    current->m_queue.push_back(&widget);
}

void DamageTracker::widgetLeaves(Widget& widget)
{
    if (current)
        current->forget(widget);
}

void DamageTracker::forget(Widget& widget)
{
    auto& d = *widget.d;
    addArea(d.drawnBounds);
    d.drawnBounds = {};
    d.subtreeRedrawQueued = false;
    if (d.redrawQueued) {
        d.redrawQueued = false;
        m_queue.erase(std::find(m_queue.begin(), m_queue.end(), &widget));
    }
    for (const auto& child : widget.m_children)
        forget(*child);
}

void DamageTracker::collect()
{
    // What is still out of date now will be told of by the layout of the next frame; made here, its listeners would
    // change the queue and the tree under way.
    const Bedrock::FlagGuard layoutHeld = LayoutEngine::hold();
    for (Widget* widget : m_queue) {
        if (!widget->d->redrawQueued)
            continue; // an ancestor has accounted for it already
        Vecta::Transform toScene;
        Vecta::Rect clip = kEverywhere;
        bool visible = true;
        for (Widget* above = widget->m_parent; above; above = above->m_parent) {
            const auto& a = *above->d;
            visible = visible && a.display.value() != Display::None && a.opacity.value() > 0.f;
        }
        if (widget->m_parent) {
            toScene = widget->m_parent->transformToScene();
            for (Widget* above = widget->m_parent; above; above = above->m_parent)
                if (above->d->overflow.value() == Overflow::Hidden)
                    clip = clip.intersected(above->sceneBounds());
        }
        const Extent extent = widget->d->subtreeRedrawQueued ? Extent::Subtree : Extent::Widget;
        account(*widget, toScene, clip, visible, extent);
    }
    m_queue.clear();
}

void DamageTracker::account(Widget& widget, const Vecta::Transform& parentToScene, const Vecta::Rect& clip, bool visible,
                            Extent extent)
{
    auto& d = *widget.d;
    const bool shows = visible && d.display.value() != Display::None && d.opacity.value() > 0.f;
    const Vecta::Transform toScene = parentToScene * widget.transformToParent();
    const bool isUpright = toScene.m12 == 0.f && toScene.m21 == 0.f && toScene.m11 == 1.f && toScene.m22 == 1.f;
    Vecta::Rect whole = toScene.mapBounds({0.f, 0.f, d.size.x, d.size.y});
    if (!isUpright && !whole.isEmpty())
        whole = {whole.x - kSmoothEdgePx, whole.y - kSmoothEdgePx, whole.width + 2 * kSmoothEdgePx,
                 whole.height + 2 * kSmoothEdgePx};
    const bool clips = d.overflow.value() == Overflow::Hidden;
    addArea(d.drawnBounds);
    d.drawnBounds = shows ? whole.intersected(clip) : Vecta::Rect{};
    addArea(d.drawnBounds);
    d.redrawQueued = d.subtreeRedrawQueued = false;
    // What clips its children changes what shows of them.
    if (extent == Extent::Widget && !clips)
        return;
    const Vecta::Rect inner = clips ? whole.intersected(clip) : clip;
    for (const auto& child : widget.m_children)
        account(*child, toScene, inner, shows, Extent::Subtree);
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
