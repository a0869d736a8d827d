#include "PainterState.hpp"

#include "CopiedPixels.hpp"
#include "GlSurfaces.hpp"
#include "LayerSurfaces.hpp"
#include "ToQt.hpp"

#include <QPaintEngine>
#include <QRegion>

#include <algorithm>
#include <cassert>
#include <cmath>

namespace Lantern
{
namespace
{
bool isWritable(const QImage& image)
{
    return image.format() == QImage::Format_RGB32 || image.format() == QImage::Format_ARGB32_Premultiplied;
}

/// The picture that a painter draws on, pixel for pixel and without a clip; null for any other painter.
QImage* imageOf(const QPainter& painter)
{
    QPaintDevice* const device = painter.device();
    if (device->devType() != QInternal::Image || !painter.transform().isIdentity() || !painter.deviceTransform().isIdentity()
        || painter.hasClipping() || painter.compositionMode() != QPainter::CompositionMode_SourceOver)
        return nullptr;
    auto* const image = static_cast<QImage*>(device);
    return isWritable(*image) ? image : nullptr;
}
}

PainterContext::Private::Private(QPainter& painterBelow, const QRegion& damaged)
    : unopened(nullptr), ground(painterBelow), groundDamage(damaged), painter(&painterBelow)
{
    world = ground.deviceTransform();
    const QTransform toDevice = ground.transform().inverted() * world;
    fromDevice = toDevice.inverted();
    opacity = ground.opacity();
    clipBounds = world.mapRect(QRectF(damaged.boundingRect()));
    for (const QRect& rect : damaged)
        damage.append(world.mapRect(QRectF(rect)));
    deviceSize = QSize(ground.device()->width(), ground.device()->height()) * ground.device()->devicePixelRatio();
    isRaster = ground.paintEngine()->type() == QPaintEngine::Raster;
    if (auto* surface = dynamic_cast<GlSurface*>(ground.device()))
        glSurfaces = &surface->surfaces();
    saved.reserve(64);
    image = imageOf(ground);
    if (image)
        damageRects.assign(damaged.begin(), damaged.end());
    else
        damageRects = {deviceRect()};
}

PainterContext::Private::Private(QImage& target, const QRegion& damaged)
    : unopened(&target), ground(own), groundDamage(damaged), painter(&own), clipBounds(damaged.boundingRect()), image(&target),
      damageRects(damaged.begin(), damaged.end()), deviceSize(target.size())
{
    saved.reserve(16);
    assert(isWritable(target) && target.devicePixelRatio() == 1.0 && "a picture with 32 bits a pixel");
    for (const QRect& rect : damaged)
        damage.append(QRectF(rect));
}

void PainterContext::Private::prepareGround()
{
    if (isGroundReady)
        return;
    isGroundReady = true;
    if (unopened)
        own.begin(unopened);
    ground.save();
    ground.setRenderHints(kHints);
    ground.setClipRegion(groundDamage, ground.hasClipping() ? Qt::IntersectClip : Qt::ReplaceClip);
}

void PainterContext::Private::end()
{
    flush();
    if (isGroundReady)
        ground.restore();
}

void PainterContext::Private::clear(const QColor& color)
{
    if (image) {
        composition.add(FilledPixels(clipRect(), pixelOf(color)));
        return;
    }
    assert(!isGroundReady && "something was drawn already");
    ground.setCompositionMode(QPainter::CompositionMode_Source);
    for (const QRect& rect : groundDamage)
        ground.fillRect(rect, color);
    ground.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

void PainterContext::Private::flush()
{
    if (!composition.isEmpty())
        composition.drawInto(*image, damageRects);
}

QPainter& PainterContext::Private::readyPainter()
{
    flush();
    prepareGround();
    if (isPainterStale) {
        painter->setTransform(!openLayers.empty() ? world : world * fromDevice);
        painter->setOpacity(opacity);
        isPainterStale = false;
    }
    return *painter;
}

QPainter& PainterContext::Private::devicePainter(qreal deviceOpacity)
{
    flush();
    prepareGround();
    painter->setTransform(!openLayers.empty() ? QTransform() : fromDevice);
    painter->setOpacity(deviceOpacity);
    isPainterStale = true;
    return *painter;
}

// ---- Pushing ---------------------------------------------------------------------------------------------------------

void PainterContext::Private::save(Kind kind, qreal layerOpacity)
{
    saved.push_back({kind, world, clipBounds, opacity, layerOpacity, image});
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

void PainterContext::Private::pushEmptyClip()
{
    save(Kind::Clip);
    prepareGround();
    painter->save();
    // An empty rectangle that a transform moves by parts of a pixel is rounded to one pixel.
    painter->setTransform(QTransform());
    painter->setClipRect(QRectF(), Qt::IntersectClip);
    clipBounds = {};
    isPainterStale = true;
}

void PainterContext::Private::pushClip(const RoundBox& box)
{
    const Vecta::Rect& rect = box.rect;
    if (rect.isEmpty() || !isFinite(rect)) {
        pushEmptyClip();
        return;
    }
    const bool isSharp = !(box.largestRadius() > 0.f);
    const bool isUpright = isSharp && world.type() <= QTransform::TxScale;
    if (isUpright && isRaster && fromDevice.isIdentity()) {
        pushUprightClip(world.mapRect(toQt(rect)));
        return;
    }
    if ((isUpright || !isRaster) && !glSurfaces) {
        save(Kind::Clip);
        QPainter& below = readyPainter();
        below.save();
        if (isSharp)
            below.setClipRect(toQt(rect), Qt::IntersectClip);
        else
            below.setClipPath(outlineOf(box), Qt::IntersectClip);
        clipBounds = clipBounds.intersected(toDevice(rect));
        return;
    }
    // Cut by a rectangle, the painter gives pixels at the cut of an antialiased outline the wrong share. So the outline is
    // the only clip of a surface, and that is drawn below under the damage. On a graphics card the painter's own rectangles reach
    // a row too far.
    const QRect pixels = isUpright ? pixelsOf(rect) & world.mapRect(toQt(rect)).toRect() : pixelsOf(rect);
    if (pixels.isEmpty()) {
        pushEmptyClip();
        return;
    }
    save(Kind::Layer, 1.0);
    openLayer(pixels);
    if (glSurfaces) {
        if (isUpright)
            return;
        QPainterPath& hidden = openLayers.back().hidden;
        hidden.addRect(QRectF(pixels));
        hidden.addPath(world.map(outlineOf(box)));
        return;
    }
    painter->setTransform(world);
    painter->setClipPath(outlineOf(box), Qt::ReplaceClip);
    image = nullptr;
}

void PainterContext::Private::pushUprightClip(const QRectF& rect)
{
    // Rounded here, so that the clip is known to the pixel.
    const QRect pixels = rect.intersected(QRectF(deviceRect().adjusted(-1, -1, 1, 1))).toRect();
    const QRectF clip = clipBounds.intersected(QRectF(pixels));
    if (pixels.isEmpty() || clip.isEmpty()) {
        pushEmptyClip();
        return;
    }
    save(Kind::Clip);
    prepareGround();
    painter->save();
    painter->setTransform(QTransform());
    painter->setClipRect(pixels, Qt::IntersectClip);
    clipBounds = clip;
    isPainterStale = true;
}

void PainterContext::Private::pushLayer(const Vecta::Rect& bounds, qreal factor, Edges edges)
{
    const QRect pixels = pixelsOf(bounds, edges);
    if (pixels.isEmpty()) {
        pushEmptyClip();
        return;
    }
    save(Kind::Layer, factor * opacity);
    openLayer(pixels);
    opacity = 1.0;
}

void PainterContext::Private::openLayer(const QRect& pixels)
{
    flush();
    if (glSurfaces) {
        openLayers.push_back({nullptr, &glSurfaces->acquire(deviceSize, pixels), {}});
        painter = &openLayers.back().texture->painter;
    } else {
        openLayers.push_back({&LayerSurfaces::instance().acquire(deviceSize, pixels), nullptr, {}});
        painter = &openLayers.back().image->painter;
        image = &openLayers.back().image->image;
    }
    clipBounds = QRectF(pixels);
    isPainterStale = true;
}

void PainterContext::Private::drawLayerBelow(const Saved& state)
{
    flush();
    image = state.image;
    const OpenLayer layer = openLayers.back();
    openLayers.pop_back();
    const QRect area = clipBounds.toAlignedRect();
    if (layer.texture) {
        finishTexture(layer, area);
        useOuterPainter();
        QPainter& below = devicePainter(1.0);
        for (const QRectF& part : visibleParts(QRectF(area)))
            glSurfaces->draw(below, layer.texture->texture, part.toAlignedRect(), part.toAlignedRect().topLeft(),
                             state.layerOpacity);
        glSurfaces->release();
        return;
    }
    LayerSurfaces::instance().release();
    useOuterPainter();
    devicePainter(state.layerOpacity).drawImage(area.topLeft(), layer.image->image, area);
}

void PainterContext::Private::useOuterPainter()
{
    if (openLayers.empty())
        painter = &ground;
    else
        painter = openLayers.back().texture ? &openLayers.back().texture->painter : &openLayers.back().image->painter;
}

void PainterContext::Private::finishTexture(const OpenLayer& layer, const QRect& area)
{
    QPainter& inLayer = layer.texture->painter;
    if (!layer.hidden.isEmpty()) {
        inLayer.setTransform({});
        inLayer.setOpacity(1.0);
        inLayer.setCompositionMode(QPainter::CompositionMode_DestinationOut);
        inLayer.fillPath(layer.hidden, Qt::black);
    }
    inLayer.end();
    layer.texture->surface.resolve(area, layer.texture->texture, area.topLeft());
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
    opacity = state.opacity;
    image = state.image;
    isPainterStale = true;
}
}
