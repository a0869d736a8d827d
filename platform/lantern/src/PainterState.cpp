#include "PainterState.hpp"

#include "ToQt.hpp"

#include <QRegion>

#include <cassert>

namespace Lantern
{
namespace
{
constexpr QPainter::RenderHints kHints = QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform;
/// The edges of what is turned or scaled may colour a neighbouring pixel a little.
constexpr qreal kSmoothEdgePx = 0.5;
}

PainterContext::Private::Private(QPainter& painterBelow, const QRegion& area) : ground(painterBelow), painter(&painterBelow)
{
    world = ground.deviceTransform();
    const QTransform toDevice = ground.transform().inverted() * world;
    fromDevice = toDevice.inverted();
    opacity = ground.opacity();
    clipBounds = world.mapRect(QRectF(area.boundingRect()));
    for (const QRect& rect : area)
        damage.append(world.mapRect(QRectF(rect)));
    saved.reserve(64);
    ground.save();
    ground.setRenderHints(kHints);
    ground.setClipRegion(area, ground.hasClipping() ? Qt::IntersectClip : Qt::ReplaceClip);
}

QPainter& PainterContext::Private::readyPainter()
{
    if (isPainterStale) {
        painter->setTransform(openLayers > 0 ? world : world * fromDevice);
        painter->setOpacity(opacity);
        isPainterStale = false;
    }
    return *painter;
}

QPainter& PainterContext::Private::devicePainter()
{
    painter->setTransform(openLayers > 0 ? QTransform() : fromDevice);
    painter->setOpacity(opacity);
    isPainterStale = true;
    return *painter;
}

QRectF PainterContext::Private::toDevice(const Vecta::Rect& rect) const
{
    const QRectF bounds = world.mapRect(toQt(rect));
    if (world.type() <= QTransform::TxTranslate || bounds.isEmpty())
        return bounds;
    return bounds.adjusted(-kSmoothEdgePx, -kSmoothEdgePx, kSmoothEdgePx, kSmoothEdgePx);
}

PainterContext::Private::Parts PainterContext::Private::visibleParts(const QRectF& bounds) const
{
    Parts parts;
    const QRectF inGround = bounds.intersected(clipBounds).translated(origin);
    for (const QRectF& rect : damage)
        if (const QRectF part = rect.intersected(inGround); !part.isEmpty())
            parts.append(part.translated(-origin));
    return parts;
}

bool PainterContext::Private::isVisible(const QRectF& bounds) const
{
    if (!bounds.intersects(clipBounds))
        return false;
    const QRectF inGround = bounds.translated(origin);
    for (const QRectF& rect : damage)
        if (rect.intersects(inGround))
            return true;
    return false;
}

// ---- Pushing ---------------------------------------------------------------------------------------------------------

void PainterContext::Private::save(Kind kind, qreal layerOpacity)
{
    saved.push_back({kind, world, clipBounds, origin, opacity, layerOpacity});
}

void PainterContext::Private::pushTransform(const QTransform& transform)
{
    save(Kind::Transform);
    world = transform * world;
    isPainterStale = true;
}

void PainterContext::Private::pushOpacity(qreal factor)
{
    save(Kind::Opacity);
    opacity *= factor;
    isPainterStale = true;
}

void PainterContext::Private::pushClip(const Vecta::Rect& rect, float cornerRadius)
{
    save(Kind::Clip);
    QPainter& below = readyPainter();
    below.save();
    if (rect.isEmpty() || !isFinite(rect)) {
        below.setClipRect(QRectF(), Qt::IntersectClip);
        clipBounds = {};
        return;
    }
    if (cornerRadius > 0.f)
        below.setClipPath(roundedRect(rect, cornerRadius), Qt::IntersectClip);
    else
        below.setClipRect(toQt(rect), Qt::IntersectClip);
    clipBounds = clipBounds.intersected(toDevice(rect));
}

void PainterContext::Private::pushLayer(const Vecta::Rect& bounds, qreal factor)
{
    const QRectF wanted = isFinite(bounds) ? toDevice(bounds).intersected(clipBounds) : QRectF();
    const QRect pixels = wanted.isEmpty() ? QRect() : wanted.toAlignedRect();
    if (pixels.isEmpty()) {
        pushClip({}, 0.f);
        return;
    }
    save(Kind::Layer, factor * opacity);
    if (surfaces.size() == openLayers)
        surfaces.push_back(std::make_unique<LayerSurface>());
    LayerSurface& surface = *surfaces[openLayers++];
    if (surface.image.size() != pixels.size())
        surface.image = QImage(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    surface.image.fill(Qt::transparent);
    surface.origin = pixels.topLeft();
    world *= QTransform::fromTranslate(-pixels.x(), -pixels.y());
    clipBounds = wanted.translated(-pixels.topLeft());
    origin += pixels.topLeft();
    opacity = 1.0;

    surface.painter.begin(&surface.image);
    surface.painter.setRenderHints(kHints);
    painter = &surface.painter;
    isPainterStale = true;
}

void PainterContext::Private::drawLayerBelow(const Saved& state)
{
    LayerSurface& surface = *surfaces[--openLayers];
    surface.painter.end();
    painter = openLayers > 0 ? &surfaces[openLayers - 1]->painter : &ground;
    opacity = state.layerOpacity;
    devicePainter().drawImage(QRectF(surface.origin, QSizeF(surface.image.size())), surface.image);
}

void PainterContext::Private::pop()
{
    assert(!saved.empty() && "pop without a push");
    const Saved state = saved.back();
    saved.pop_back();
    if (state.kind == Kind::Layer)
        drawLayerBelow(state);
    else if (state.kind == Kind::Clip)
        painter->restore();
    world = state.world;
    clipBounds = state.clipBounds;
    origin = state.origin;
    opacity = state.opacity;
    isPainterStale = true;
}
}
