#include "care/KeyboardPlaces.hpp"

#include <Trellis/FadeAnimator.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Transform.hpp>

#include <algorithm>

namespace Host
{
namespace
{
Vecta::Rect boundsOf(const Vecta::Transform& transform, const PlaceSearch::Outline& outline)
{
    Vecta::Vector2f least = transform.map(outline.front());
    Vecta::Vector2f most = least;
    for (const Vecta::Vector2f corner : outline) {
        const Vecta::Vector2f there = transform.map(corner);
        least = {std::min(least.x, there.x), std::min(least.y, there.y)};
        most = {std::max(most.x, there.x), std::max(most.y, there.y)};
    }
    return {least.x, least.y, most.x - least.x, most.y - least.y};
}

bool isGone(const Bedrock::IntrusiveWeakPtr<Trellis::Widget>& keyboard)
{
    const auto widget = keyboard.lock();
    return !widget || Trellis::FadeAnimator::isFadingOut(*widget);
}
}

void KeyboardPlaces::appendTo(std::vector<OpenOutline>& open) const
{
    for (const Open& one : m_open)
        if (!isGone(one.keyboard))
            open.push_back({one.carrier, one.outline});
}

KeyboardPlaces::Open& KeyboardPlaces::openOf(Trellis::Widget& keyboard, const Trellis::Widget& carrier)
{
    m_open.erase(std::remove_if(m_open.begin(), m_open.end(), [](const Open& open) { return isGone(open.keyboard); }),
                 m_open.end());
    const auto known = std::find_if(m_open.begin(), m_open.end(),
                                    [&keyboard](const Open& open) { return open.keyboard.lock().get() == &keyboard; });
    if (known != m_open.end())
        return *known;
    Open opened{Bedrock::IntrusiveWeakPtr<Trellis::Widget>(&keyboard), &carrier, m_neighbours(carrier), std::nullopt, {}};
    for (const Open& other : m_open)
        opened.neighbours.push_back(other.outline);
    return m_open.emplace_back(std::move(opened));
}

Vecta::Vector2f KeyboardPlaces::place(Trellis::Widget& keyboard, const Trellis::Widget& carrier,
                                      const Tavola::KeyboardRequest& request)
{
    Open& open = openOf(keyboard, carrier);
    const auto turn = Vecta::Transform::rotation(request.angleRadians);
    const auto fromTable = Vecta::Transform::rotation(-request.angleRadians) * Vecta::Transform::translation(-request.origin);
    std::vector<Vecta::Rect> neighbours;
    for (const PlaceSearch::Outline& outline : open.neighbours)
        neighbours.push_back(boundsOf(fromTable, outline));
    const KeyboardSearch::Place found = KeyboardSearch::find(request, open.side, neighbours);
    open.side = found.side;
    open.outline =
        (Vecta::Transform::translation(found.topLeft) * turn).mapCorners({0.f, 0.f, request.keyboard.x, request.keyboard.y});
    return found.topLeft;
}
}
