#include "layout/LayoutEngine.hpp"
#include "tree/WidgetPrivate.hpp"

#include <algorithm>

// Where a widget is. What reads a place or a size first brings the layout of the whole tree up to date; the maps do so once,
// and then go up the ancestors with what is there.

namespace Trellis
{
using Vecta::Vector2f;

Vector2f Widget::location() const
{
    LayoutEngine::bringUpToDate(*this);
    return d->location.value();
}

void Widget::setLocation(Vector2f location)
{
    d->location.setValue(location);
}

Vector2f Widget::size() const
{
    LayoutEngine::bringUpToDate(*this);
    return d->size;
}

float Widget::width() const
{
    return size().x;
}

float Widget::height() const
{
    return size().y;
}

void Widget::setSize(Vector2f size)
{
    d->width.setValue(Length::pixels(size.x));
    d->height.setValue(Length::pixels(size.y));
}

Vector2f Widget::centerLocation() const
{
    return mapToParent(size() * 0.5f);
}

void Widget::setCenterLocation(Vector2f center)
{
    setLocation(center - (size() * (0.5f * scale())).rotated(rotation()));
}

float Widget::rotation() const
{
    return d->rotation.value().radians;
}

void Widget::setRotation(float radians)
{
    d->rotation.setValue(Angle{radians});
}

void Widget::setRotationAboutCenter(float radians)
{
    const Vector2f center = centerLocation();
    setRotation(radians);
    setCenterLocation(center);
}

void Widget::setRotationAboutScenePoint(float radians, Vector2f scenePoint)
{
    const Vector2f inParent = m_parent ? m_parent->mapFromScene(scenePoint) : scenePoint;
    const Vector2f arm = mapFromParent(inParent) * scale();
    setRotation(radians);
    setLocation(inParent - arm.rotated(radians));
}

float Widget::scale() const
{
    return d->scale.value();
}

void Widget::setScale(float scale)
{
    d->scale.setValue(scale);
}

float Widget::opacity() const
{
    return d->opacity.value();
}

void Widget::setOpacity(float opacity)
{
    d->opacity.setValue(opacity);
}

// ---- Maps ------------------------------------------------------------------------------------------------------------

Vector2f Widget::Private::toParent(Vector2f point) const
{
    return location.value() + (point * scale.value()).rotated(rotation.value().radians);
}

Vector2f Widget::Private::fromParent(Vector2f point) const
{
    const float factor = scale.value();
    const Vector2f turnedBack = (point - location.value()).rotated(-rotation.value().radians);
    // A widget scaled to nothing has no coordinates to map to.
    return factor != 0.f ? turnedBack / factor : Vector2f();
}

Vecta::Transform Widget::Private::transformToParent() const
{
    return Vecta::Transform::translation(location.value()) * Vecta::Transform::rotation(rotation.value().radians)
        * Vecta::Transform::scaling(scale.value());
}

Vector2f Widget::Private::fromScene(const Widget& widget, Vector2f point)
{
    return widget.d->fromParent(widget.m_parent ? fromScene(*widget.m_parent, point) : point);
}

Vecta::Transform Widget::transformToParent() const
{
    LayoutEngine::bringUpToDate(*this);
    return d->transformToParent();
}

Vecta::Transform Widget::transformToScene() const
{
    LayoutEngine::bringUpToDate(*this);
    Vecta::Transform transform = d->transformToParent();
    for (const Widget* widget = m_parent; widget; widget = widget->m_parent)
        transform = widget->d->transformToParent() * transform;
    return transform;
}

Vector2f Widget::mapToParent(Vector2f point) const
{
    LayoutEngine::bringUpToDate(*this);
    return d->toParent(point);
}

Vector2f Widget::mapFromParent(Vector2f point) const
{
    LayoutEngine::bringUpToDate(*this);
    return d->fromParent(point);
}

Vector2f Widget::mapToScene(Vector2f point) const
{
    LayoutEngine::bringUpToDate(*this);
    for (const Widget* widget = this; widget; widget = widget->m_parent)
        point = widget->d->toParent(point);
    return point;
}

Vector2f Widget::mapFromScene(Vector2f point) const
{
    LayoutEngine::bringUpToDate(*this);
    return Private::fromScene(*this, point);
}

Vecta::Rect Widget::sceneBounds() const
{
    const Vecta::Transform toScene = transformToScene();
    return toScene.mapBounds({0.f, 0.f, d->size.x, d->size.y});
}

Vecta::Rect Widget::contentBox() const
{
    LayoutEngine::bringUpToDate(*this);
    return {d->padLeft, d->padTop, std::max(0.f, d->size.x - d->padLeft - d->padRight),
            std::max(0.f, d->size.y - d->padTop - d->padBottom)};
}

bool Widget::isInside(Vector2f point) const
{
    const Vector2f extent = size();
    return Vecta::Rect{0.f, 0.f, extent.x, extent.y}.contains(point);
}

bool Widget::intersects(const Widget& other) const
{
    const auto root = [](const Widget* widget) {
        while (widget->m_parent)
            widget = widget->m_parent;
        return widget;
    };
    if (root(this) != root(&other))
        return false;
    const Vector2f mine = size();
    const Vector2f theirs = other.size();
    return Vecta::quadsIntersect(transformToScene().mapCorners({0.f, 0.f, mine.x, mine.y}),
                                 other.transformToScene().mapCorners({0.f, 0.f, theirs.x, theirs.y}));
}

bool Widget::isVisible() const
{
    for (const Widget* widget = this; widget; widget = widget->m_parent)
        if (widget->d->display.value() == Display::None || widget->d->opacity.value() <= 0.f)
            return false;
    return true;
}
}
