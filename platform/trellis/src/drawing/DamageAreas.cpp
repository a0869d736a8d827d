#include "drawing/DamageAreas.hpp"

#include "tree/Outline.hpp"

#include <algorithm>
#include <cmath>

namespace Trellis
{
using Vecta::Rect;

namespace
{
/// So many pixels take longer to draw than some rectangles more.
constexpr float kLeastWastePx = 128.f * 128.f;
/// To draw many areas apart takes longer than the few pixels between them. One thing that is turned has fewer.
constexpr std::size_t kMany = 24;
constexpr float kMostWaste = 0.15f; ///< of the pixels that are drawn
constexpr float kMostStrips = 16.f;
constexpr float kLeastStripPx = 32.f;
/// Further out places are not accurate enough for strips.
constexpr float kFarPx = 1e5f;

float sizeOf(const Rect& r)
{
    return r.width * r.height;
}

bool isFiniteArea(const Rect& r)
{
    return std::isfinite(r.x + r.y + r.width + r.height);
}

bool coversArea(const Rect& a, const Rect& b)
{
    return a.x <= b.x && a.y <= b.y && a.right() >= b.right() && a.bottom() >= b.bottom();
}

Rect grownBy(const Rect& r, Vecta::Vector2f edge)
{
    return {r.x - edge.x, r.y - edge.y, r.width + 2.f * edge.x, r.height + 2.f * edge.y};
}

Rect withEdge(const Rect& r, Vecta::Vector2f edge)
{
    return r.isEmpty() ? Rect() : grownBy(r, edge);
}

bool isNear(const Rect& r)
{
    return std::abs(r.x) < kFarPx && std::abs(r.y) < kFarPx && r.width < kFarPx && r.height < kFarPx;
}

bool isMuchSmaller(const Outline& outline, const Rect& bounds)
{
    return sizeOf(bounds) - outline.area() >= kLeastWastePx;
}

/// What shows of it between two heights.
Rect partOf(const Outline& outline, const Rect& strip, Vecta::Vector2f edge)
{
    if (outline.area() <= 0.f)
        return {};
    const Rect part = outline.boundsBetween(strip.y - edge.y, strip.bottom() + edge.y);
    return part.width < 0.f ? Rect() : grownBy(part, edge).intersected(strip);
}

/// A power of two, so that strips of one frame lie beside those of another.
float stripHeight(float height)
{
    float strip = kLeastStripPx;
    while (strip * kMostStrips < height)
        strip *= 2.f;
    return strip;
}
}

DamageAreas::DamageAreas()
{
    m_areas.reserve(kMost + 1);
}

void DamageAreas::setScene(const Rect& scene)
{
    m_scene = scene;
    m_areas.clear();
}

void DamageAreas::add(const Rect& wanted)
{
    const Rect area = wanted.intersected(m_scene);
    if (area.isEmpty() || !isFiniteArea(area))
        return;
    for (const Rect& known : m_areas)
        if (coversArea(known, area))
            return;
    m_areas.erase(std::remove_if(m_areas.begin(), m_areas.end(), [&](const Rect& known) { return coversArea(area, known); }),
                  m_areas.end());
    const auto waste = [&area](const Rect& known) { return sizeOf(known.united(area)) - sizeOf(known) - sizeOf(area); };
    // Something moved a little: one rectangle around both places is smaller than the two. Of too many, the new one becomes one
    // with that with which it wastes the least.
    auto partner = std::find_if(m_areas.begin(), m_areas.end(), [&](const Rect& known) { return waste(known) <= 0.f; });
    if (partner == m_areas.end() && m_areas.size() == kMost)
        partner =
            std::min_element(m_areas.begin(), m_areas.end(), [&](const Rect& a, const Rect& b) { return waste(a) < waste(b); });
    if (partner == m_areas.end()) {
        m_areas.push_back(area);
        return;
    }
    const Rect both = partner->united(area);
    m_areas.erase(partner);
    add(both);
}

void DamageAreas::joinMany()
{
    if (m_areas.size() < kMany)
        return;
    Rect all;
    float needed = 0.f;
    for (const Rect& area : m_areas) {
        all = all.united(area);
        needed += sizeOf(area);
    }
    if (sizeOf(all) - needed <= kMostWaste * sizeOf(all))
        m_areas.assign(1, all);
}

void DamageAreas::addBoth(const Rect& before, const Rect& now)
{
    const Rect both = before.united(now);
    if (sizeOf(both) <= sizeOf(before) + sizeOf(now)) {
        add(both);
        return;
    }
    add(before);
    add(now);
}

void DamageAreas::addMove(const Outline& before, const Outline& now, Vecta::Vector2f edge)
{
    const Rect boundsBefore = before.bounds(), boundsNow = now.bounds();
    const bool isStripped = isMuchSmaller(before, boundsBefore) || isMuchSmaller(now, boundsNow);
    if (!isStripped || !isNear(boundsBefore) || !isNear(boundsNow)) {
        addBoth(withEdge(boundsBefore, edge), withEdge(boundsNow, edge));
        return;
    }
    const Rect all = withEdge(boundsBefore.united(boundsNow), edge).intersected(m_scene);
    const float height = stripHeight(all.height);
    for (float top = std::floor(all.y / height) * height; top < all.bottom(); top += height) {
        const Rect strip{all.x, top, all.width, height};
        addBoth(partOf(before, strip, edge), partOf(now, strip, edge));
    }
}
}
