#include "tree/WidgetRecords.hpp"

#include <algorithm>

// Where a widget is. Reading a place or a size first brings the layout of the whole tree up to date; the maps do so once,
// and then go up the ancestors.

namespace Trellis
{
using Vecta::Vector2f;

Vector2f Widget::location() const
{
    bringLayoutUpToDate(*this);
    return d->layout.location.value();
}

void Widget::setLocation(Vector2f location)
{
    d->layout.location.setValue(location);
}

Vector2f Widget::size() const
{
    bringLayoutUpToDate(*this);
    return d->layout.size;
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
    d->layout.width.setValue(Length::pixels(size.x));
    d->layout.height.setValue(Length::pixels(size.y));
}

Vector2f Widget::centerLocation() const
{
    return mapToParent(size() * 0.5f);
}

void Widget::setCenterLocation(Vector2f center)
{
    setLocation(center - (size() * (0.5f * d->layout.placingScale())).rotated(rotation()));
}

float Widget::rotation() const
{
    return d->layout.rotation.value().radians;
}

void Widget::setRotation(float radians)
{
    d->layout.rotation.setValue(Angle{radians});
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
    setLocation(inParent - (arm + d->layout.cornerShift()).rotated(radians));
}

float Widget::scale() const
{
    return d->layout.scale.value();
}

float Widget::scaleAtRest() const
{
    return d->layout.placingScale();
}

void Widget::setScale(float scale)
{
    d->layout.scale.setValue(scale);
}

float Widget::opacity() const
{
    return d->drawing.opacity.value();
}

void Widget::setOpacity(float opacity)
{
    d->drawing.opacity.setValue(opacity);
}

// ---- Maps ------------------------------------------------------------------------------------------------------------

Vecta::Transform Widget::transformToParent() const
{
    bringLayoutUpToDate(*this);
    return d->layout.transformToParent();
}

Vecta::Transform Widget::transformToScene() const
{
    bringLayoutUpToDate(*this);
    Vecta::Transform transform = d->layout.transformToParent();
    for (const Widget* widget = m_parent; widget; widget = widget->m_parent)
        transform = widget->d->layout.transformToParent() * transform;
    return transform;
}

Vector2f Widget::mapToParent(Vector2f point) const
{
    bringLayoutUpToDate(*this);
    return d->layout.toParent(point);
}

Vector2f Widget::mapFromParent(Vector2f point) const
{
    bringLayoutUpToDate(*this);
    return d->layout.fromParent(point);
}

Vector2f Widget::mapToScene(Vector2f point) const
{
    bringLayoutUpToDate(*this);
    for (const Widget* widget = this; widget; widget = widget->m_parent)
        point = widget->d->layout.toParent(point);
    return point;
}

Vector2f Widget::mapFromScene(Vector2f point) const
{
    bringLayoutUpToDate(*this);
    const auto map = [](auto&& self, const Widget& widget, Vector2f scenePoint) -> Vector2f {
        return widget.d->layout.fromParent(widget.m_parent ? self(self, *widget.m_parent, scenePoint) : scenePoint);
    };
    return map(map, *this, point);
}

Vecta::Rect Widget::sceneBounds() const
{
    const Vecta::Transform toScene = transformToScene();
    return toScene.mapBounds({0.f, 0.f, d->layout.size.x, d->layout.size.y});
}

Vecta::Rect Widget::contentBox() const
{
    bringLayoutUpToDate(*this);
    return {d->layout.padLeft, d->layout.padTop, std::max(0.f, d->layout.size.x - d->layout.padLeft - d->layout.padRight),
            std::max(0.f, d->layout.size.y - d->layout.padTop - d->layout.padBottom)};
}

Lantern::Corners Widget::cornerRadii() const
{
    return d->drawing.corners();
}

bool Widget::isInside(Vector2f point) const
{
    const Vector2f extent = size();
    return Vecta::Rect{0.f, 0.f, extent.x, extent.y}.contains(point);
}

bool Widget::intersects(const Widget& other) const
{
    const auto isRoot = [](const Widget& widget) { return !widget.m_parent; };
    if (nearest(isRoot) != other.nearest(isRoot))
        return false;
    const Vector2f mine = size();
    const Vector2f theirs = other.size();
    return Vecta::quadsIntersect(transformToScene().mapCorners({0.f, 0.f, mine.x, mine.y}),
                                 other.transformToScene().mapCorners({0.f, 0.f, theirs.x, theirs.y}));
}

bool Widget::isVisible() const
{
    return !nearest([](const Widget& widget) { return !widget.d->isShown(); });
}
}
