#include "keyboard/KeyboardStand.hpp"

#include "shared/TableGeometry.hpp"

#include <Tavola/Tavola.hpp>
#include <Tavola/UserInterface.hpp>
#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>
#include <Vecta/Transform.hpp>

namespace Tavola
{
namespace
{
constexpr float kBesidePx = 14.f; ///< between the keyboard and its anchor
}

void KeyboardStand::follow(Trellis::Widget& keyboard, const Trellis::Widget& carrier, const Trellis::Widget& anchor,
                           const Trellis::Widget& field)
{
    const auto* const application = Trellis::Application::instance();
    const float scale = sceneScale(anchor);
    const float carrierScale = sceneScale(carrier);
    if (!application || scale <= 0.f || carrierScale <= 0.f)
        return;
    KeyboardRequest request;
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
    const UserInterface::KeyboardPlacer placer = tavola ? tavola->ui()->keyboardPlacer() : nullptr;
    const Vecta::Vector2f topLeft = placer ? placer(keyboard, carrier, request) : request.usualPlace();
    keyboard.setScale(1.f / carrierScale);
    keyboard.setRotation(request.angleRadians - sceneRotation(carrier));
    keyboard.setLocation(carrier.mapFromScene(topLeft));
}
}
