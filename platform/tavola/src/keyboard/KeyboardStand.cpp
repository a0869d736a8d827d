#include "keyboard/KeyboardStand.hpp"

#include "shared/TableGeometry.hpp"

#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Transform.hpp>

#include <algorithm>

namespace Tavola
{
namespace
{
constexpr float kBesidePx = 14.f; ///< between the keyboard and its anchor

Vecta::Rect boundsOf(const Vecta::Transform& transform, const UserInterface::Outline& outline)
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
}

void KeyboardStand::follow(Trellis::Widget& keyboard, const Trellis::Widget& carrier, const Trellis::Widget& anchor,
                           const Trellis::Widget& field)
{
    const auto* const application = Trellis::Application::instance();
    const float scale = sceneScale(anchor);
    const float carrierScale = sceneScale(carrier);
    if (!application || scale <= 0.f || carrierScale <= 0.f)
        return;
    KeyboardPlacement::Request request;
    request.origin = anchor.mapToScene({});
    request.angleRadians = sceneRotation(anchor);
    request.anchor = anchor.size() * scale;
    const Vecta::Vector2f fieldSize = field.size();
    const auto fromTable = Vecta::Transform::rotation(-request.angleRadians) * Vecta::Transform::translation(-request.origin);
    request.field = (fromTable * field.transformToScene()).mapBounds({0.f, 0.f, fieldSize.x, fieldSize.y});
    request.keyboard = keyboard.size();
    request.table = application->size();
    request.gap = kBesidePx;
    if (m_last && *m_last == request)
        return;
    m_last = request;

    const auto tavola = Tavola::instance();
    if (!m_neighbours)
        m_neighbours = tavola ? tavola->ui()->keyboardNeighbours(carrier) : std::vector<UserInterface::Outline>();
    std::vector<Vecta::Rect> neighbours;
    for (const UserInterface::Outline& outline : *m_neighbours)
        neighbours.push_back(boundsOf(fromTable, outline));
    const auto found = KeyboardPlacement::find(request, m_side, neighbours);
    m_side = found.side;
    keyboard.setScale(1.f / carrierScale);
    keyboard.setRotation(request.angleRadians - sceneRotation(carrier));
    keyboard.setLocation(carrier.mapFromScene(found.topLeft));
}
}
