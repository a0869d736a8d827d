#include "care/TableTidy.hpp"

#include "care/CareAttributes.hpp"
#include "care/Drags.hpp"

#include <Facet/Attribute.hpp>
#include <Tavola/Utils.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Angle.hpp>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
using Trellis::Widget;
using Vecta::Vector2f;

constexpr std::array<const char*, 3> kPlaceAttributes{"location", "rotation", "scale"};

bool isAtRest(const Widget& widget)
{
    return !widget.isHeld() && !widget.isMoving();
}

/// How far `from` .. `from + extent` must move so that `grab` of it lies within 0 .. `room`.
float inwards(float from, float extent, float room, float grab)
{
    const float shown = std::min(grab, extent);
    if (from + extent < shown)
        return shown - from - extent;
    return from > room - shown ? room - shown - from : 0.f;
}
}

TableTidy::Place TableTidy::placeOf(const Widget& widget)
{
    return {widget.location(), widget.rotation(), widget.scale()};
}

void TableTidy::put(Widget& widget, const Place& place)
{
    widget.setScale(place.scale);
    widget.setRotation(place.rotation);
    widget.setLocation(place.location);
}

void TableTidy::update(const Widget& content, Vector2f table, float unusedSeconds, float dtSeconds)
{
    if (!m_hasHomes)
        noteHomes(content);
    bringBack(content, table);
    if (unusedSeconds >= m_afterSeconds && m_ways.empty())
        sendHome();
    m_ways.erase(std::remove_if(m_ways.begin(), m_ways.end(), [dtSeconds](Way& way) { return proceed(way, dtSeconds); }),
                 m_ways.end());
}

void TableTidy::noteHomes(const Widget& content)
{
    m_hasHomes = true;
    for (const auto& child : content.children()) {
        if (!isMovable(*child) || child->hasCSSClass(Tavola::Utils::temporaryWidgetCSSClass()))
            continue;
        Home home{Bedrock::IntrusiveWeakPtr<Widget>(child), placeOf(*child), {}};
        for (std::size_t i = 0; i < kPlaceAttributes.size(); ++i)
            home.isSetAtRunTime[i] = child->attribute(kPlaceAttributes[i])->hasValue(Facet::kUserLayer);
        m_homes.push_back(home);
    }
}

void TableTidy::bringBack(const Widget& content, Vector2f table)
{
    for (const auto& child : content.children()) {
        if (!isMovable(*child))
            continue;
        const auto moved =
            std::find_if(m_moved.begin(), m_moved.end(), [&child](const auto& weak) { return weak.lock().get() == child.get(); });
        if (!isAtRest(*child)) {
            if (moved == m_moved.end())
                m_moved.emplace_back(child);
            continue;
        }
        if (moved == m_moved.end())
            continue;
        m_moved.erase(moved);
        const Vecta::Rect bounds = child->sceneBounds();
        const Vector2f by{inwards(bounds.x, bounds.width, table.x, m_grabPx),
                          inwards(bounds.y, bounds.height, table.y, m_grabPx)};
        if (by == Vector2f())
            continue;
        Way way{Bedrock::IntrusiveWeakPtr<Widget>(child), placeOf(*child), placeOf(*child), std::nullopt, 0.f};
        way.to.location += content.mapFromScene(by) - content.mapFromScene({});
        m_ways.push_back(way);
    }
}

void TableTidy::sendHome()
{
    for (const Home& home : m_homes) {
        const auto widget = home.widget.lock();
        if (!widget || !widget->parent() || !isAtRest(*widget) || CareAttributes::stays(*widget))
            continue;
        const Place place = placeOf(*widget);
        const bool isHome = (place.location - home.place.location).length() < 0.5f
            && std::abs(Vecta::shortestTurn(place.rotation, home.place.rotation)) < 0.001f
            && std::abs(place.scale - home.place.scale) < 0.001f;
        if (isHome)
            continue;
        m_ways.push_back({home.widget, place, home.place, home, 0.f});
        return; // the others follow one after the other
    }
}

bool TableTidy::proceed(Way& way, float dtSeconds)
{
    const auto widget = way.widget.lock();
    if (!widget || !widget->parent() || !isAtRest(*widget))
        return true;
    way.seconds += dtSeconds;
    const float part = std::min(way.seconds / kGlideSeconds, 1.f);
    const float eased = 1.f - (1.f - part) * (1.f - part);
    put(*widget,
        {way.from.location + (way.to.location - way.from.location) * eased,
         way.from.rotation + Vecta::shortestTurn(way.from.rotation, way.to.rotation) * eased,
         way.from.scale + (way.to.scale - way.from.scale) * eased});
    if (part < 1.f)
        return false;
    for (std::size_t i = 0; way.home && i < kPlaceAttributes.size(); ++i)
        if (!way.home->isSetAtRunTime[i])
            widget->attribute(kPlaceAttributes[i])->clearValue(Facet::kUserLayer);
    return true;
}
}
