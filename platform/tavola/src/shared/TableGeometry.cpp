#include "shared/TableGeometry.hpp"

#include <Trellis/Application.hpp>
#include <Trellis/Widget.hpp>

#include <algorithm>
#include <cmath>

namespace Tavola
{
namespace
{
float rotationOf(const Vecta::Transform& toScene)
{
    return std::atan2(toScene.m21, toScene.m11);
}

float scaleOf(const Vecta::Transform& toScene)
{
    return std::hypot(toScene.m11, toScene.m21);
}

float kept(float center, float half, float tableSide)
{
    return std::max(half, std::min(center, tableSide - half));
}
}

bool isOnTable(const Trellis::Widget& widget)
{
    const auto* const toolkit = Trellis::Application::instance();
    return toolkit && toolkit->mainLayer()->isAncestorOf(widget);
}

float sceneRotation(const Trellis::Widget& widget)
{
    return rotationOf(widget.transformToScene());
}

float sceneScale(const Trellis::Widget& widget)
{
    return scaleOf(widget.transformToScene());
}

Vecta::Vector2f centerOnTable(const Trellis::Widget& widget, float scale, const Trellis::Widget& parent, Vecta::Vector2f center)
{
    const auto* const toolkit = Trellis::Application::instance();
    if (!toolkit)
        return center;
    const Vecta::Transform toScene = parent.transformToScene();
    const float rotation = rotationOf(toScene) + widget.rotation();
    const Vecta::Vector2f half = widget.size() * (0.5f * scale * scaleOf(toScene));
    const float halfWidth = std::abs(std::cos(rotation)) * half.x + std::abs(std::sin(rotation)) * half.y;
    const float halfHeight = std::abs(std::sin(rotation)) * half.x + std::abs(std::cos(rotation)) * half.y;
    const Vecta::Vector2f inScene = parent.mapToScene(center);
    return parent.mapFromScene({kept(inScene.x, halfWidth, toolkit->size().x), kept(inScene.y, halfHeight, toolkit->size().y)});
}
}
