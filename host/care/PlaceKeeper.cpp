#include "care/PlaceKeeper.hpp"

#include "care/CardOutline.hpp"
#include "care/CareAttributes.hpp"

#include <Tavola/ContentMenuWidget.hpp>
#include <Trellis/FadeAnimator.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <cmath>

namespace Host
{
namespace
{
using Vecta::Vector2f;

constexpr float kCheckSeconds = 0.1f;
constexpr float kSamePlaceSquaredPx = 0.25f;
constexpr float kSameAngleRadians = 0.001f;
constexpr float kGapMm = 2.f; ///< between a card and what it does not cover

Vector2f centerInScene(const Trellis::Widget& widget)
{
    return widget.mapToScene(widget.size() / 2.f);
}

/// Parts of a widget that moves and grows are measured with rounding.
bool isSameRect(const Vecta::Rect& a, const Vecta::Rect& b)
{
    return (Vector2f(a.x, a.y) - Vector2f(b.x, b.y)).lengthSquared() < kSamePlaceSquaredPx
        && (Vector2f(a.width, a.height) - Vector2f(b.width, b.height)).lengthSquared() < kSamePlaceSquaredPx;
}

bool hasSameShape(const PlaceSearch& a, const PlaceSearch& b)
{
    return a.placement == b.placement && (a.size - b.size).lengthSquared() < kSamePlaceSquaredPx
        && std::abs(a.angleRadians - b.angleRadians) < kSameAngleRadians && a.table == b.table
        && std::equal(a.keepClear.begin(), a.keepClear.end(), b.keepClear.begin(), b.keepClear.end(), isSameRect);
}

/// From the widget to the scene, but for the place. A widget that comes growing has its whole size at once.
Vecta::Transform shapeInScene(const Trellis::Widget& widget)
{
    return widget.parent()->transformToScene() * Vecta::Transform::rotation(widget.rotation())
        * Vecta::Transform::scaling(widget.scaleAtRest());
}

PlaceSearch::Outline outlineAt(const Trellis::Widget& widget, Vector2f center)
{
    const Vector2f size = widget.size();
    const Vecta::Transform shape = shapeInScene(widget);
    auto corners = shape.mapCorners({0.f, 0.f, size.x, size.y});
    const Vector2f by = center - shape.map(size / 2.f);
    for (Vector2f& corner : corners)
        corner += by;
    return corners;
}

bool isClosed(const CardOpening& opening)
{
    const auto widget = opening.widget.lock();
    return !widget || !widget->parent() || Trellis::FadeAnimator::isFadingOut(*widget);
}

void appendNodes(const CardOpening& menu, std::vector<OpenOutline>& open)
{
    const auto widget = menu.widget.lock();
    if (!widget)
        return;
    for (const auto& node : widget->children())
        if (node->isVisible())
            open.push_back({widget.get(), outlineAt(*node, centerInScene(*node))});
}
}

void PlaceKeeper::add(const CardOpening& opening)
{
    const auto widget = opening.widget.lock();
    if (!widget)
        return;
    Guest guest(opening);
    guest.openedAt = guest.from = guest.to = centerInScene(*widget);
    m_guests.push_back(std::move(guest));
}

void PlaceKeeper::addLaunched(const CardOpening& opening)
{
    if (dynamic_cast<const Tavola::ContentMenuWidget*>(opening.widget.lock().get()))
        m_menus.push_back(opening);
}

void PlaceKeeper::forgetClosed()
{
    m_guests.erase(std::remove_if(m_guests.begin(), m_guests.end(), [](const Guest& guest) { return isClosed(guest.opening); }),
                   m_guests.end());
    m_menus.erase(std::remove_if(m_menus.begin(), m_menus.end(), isClosed), m_menus.end());
}

void PlaceKeeper::update(const std::vector<Tactile::Marker>& cards, const std::vector<OpenOutline>& keyboards, Vector2f table,
                         float dtSeconds)
{
    m_cards = cards;
    m_keyboards = keyboards;
    forgetClosed();
    for (Guest& guest : m_guests) {
        const auto widget = guest.opening.widget.lock();
        if (widget->isHeld() || widget->isMoving() || (guest.location && widget->location() != *guest.location))
            guest.isKept = false;
        if (!guest.isKept)
            continue;
        guest.sinceCheckSeconds += dtSeconds;
        if (!guest.last || guest.sinceCheckSeconds >= kCheckSeconds)
            check(guest, *widget, cards, table);
        glide(guest, *widget, dtSeconds);
    }
}

Vector2f PlaceKeeper::findPlace(const CardOpening& opening, const Trellis::Widget& widget, Vector2f table) const
{
    Guest guest(opening);
    guest.openedAt = centerInScene(widget);
    PlaceSearch search = searchFor(guest, widget);
    search.table = table;
    surround(search, guest, m_cards);
    return search.find();
}

std::vector<PlaceSearch::Outline> PlaceKeeper::neighboursOf(const Trellis::Widget& widget) const
{
    std::vector<PlaceSearch::Outline> result;
    for (const Tactile::Marker& card : m_cards)
        result.push_back(cardOutline(card, m_pixelPitchMm));
    std::vector<OpenOutline> open;
    appendTo(open);
    for (const OpenOutline& other : open)
        if (other.widget != &widget)
            result.push_back(other.outline);
    return result;
}

void PlaceKeeper::appendTo(std::vector<OpenOutline>& open) const
{
    for (const Guest& guest : m_guests)
        if (const auto widget = guest.opening.widget.lock())
            open.push_back({widget.get(), outlineAt(*widget, guest.isKept ? guest.to : centerInScene(*widget))});
    for (const CardOpening& menu : m_menus)
        appendNodes(menu, open);
}

PlaceSearch PlaceKeeper::searchFor(const Guest& guest, const Trellis::Widget& widget) const
{
    const Vecta::Transform toScene = shapeInScene(widget);
    PlaceSearch search;
    search.placement = CareAttributes::placementOf(widget);
    search.center = guest.openedAt;
    search.size = widget.size() * std::hypot(toScene.m11, toScene.m21);
    search.angleRadians = std::atan2(toScene.m21, toScene.m11);
    search.keepClear = CareAttributes::keptClear(widget);
    search.gapPx = kGapMm / m_pixelPitchMm;
    return search;
}

void PlaceKeeper::surround(PlaceSearch& search, const Guest& guest, const std::vector<Tactile::Marker>& cards) const
{
    search.card = cardOutline(guest.opening.card, m_pixelPitchMm);
    for (const Tactile::Marker& card : cards) {
        if (card.id() == guest.opening.card.id())
            search.card = cardOutline(card, m_pixelPitchMm);
        else
            search.otherCards.push_back(cardOutline(card, m_pixelPitchMm));
    }
    // Of two that opened in one frame the second one makes room for the first.
    for (const Guest& other : m_guests) {
        if (&other == &guest || (other.isKept && !other.last))
            continue;
        const auto widget = other.opening.widget.lock();
        if (other.opening.card.code() != guest.opening.card.code())
            search.others.push_back(outlineAt(*widget, other.isKept ? other.to : centerInScene(*widget)));
    }
    std::vector<OpenOutline> nodes;
    for (const CardOpening& menu : m_menus)
        if (menu.card.code() != guest.opening.card.code())
            appendNodes(menu, nodes);
    for (const OpenOutline& node : nodes)
        search.others.push_back(node.outline);
    const auto own = guest.opening.widget.lock();
    for (const OpenOutline& keyboard : m_keyboards)
        if (keyboard.widget != own.get())
            search.others.push_back(keyboard.outline);
}

void PlaceKeeper::check(Guest& guest, Trellis::Widget& widget, const std::vector<Tactile::Marker>& cards, Vector2f table)
{
    guest.sinceCheckSeconds = 0.f;
    PlaceSearch search = searchFor(guest, widget);
    search.table = table;
    if (guest.last && hasSameShape(*guest.last, search))
        return;
    guest.last = search;
    surround(search, guest, cards);
    // One that grew has another centre than the one that it was moved to.
    const bool isGliding = guest.glideSeconds < kGlideSeconds;
    // One that has its place stays there while that is good, wherever its card has been moved.
    const Vector2f now = centerInScene(widget);
    const Vector2f place = search.suits(now) ? now : search.find();
    const bool isSamePlace = (place - guest.to).lengthSquared() < kSamePlaceSquaredPx;
    if (isSamePlace && (isGliding || (now - place).lengthSquared() < kSamePlaceSquaredPx))
        return;
    guest.from = now;
    guest.to = place;
    guest.glideSeconds = 0.f;
}

void PlaceKeeper::glide(Guest& guest, Trellis::Widget& widget, float dtSeconds)
{
    if (guest.glideSeconds >= kGlideSeconds)
        return;
    guest.glideSeconds += dtSeconds;
    const float part = std::min(guest.glideSeconds / kGlideSeconds, 1.f);
    const float eased = 1.f - (1.f - part) * (1.f - part);
    const Vector2f center = guest.from + (guest.to - guest.from) * eased;
    const Trellis::Widget& parent = *widget.parent();
    widget.setLocation(widget.location() + parent.mapFromScene(center) - parent.mapFromScene(centerInScene(widget)));
    guest.location = widget.location();
}
}
