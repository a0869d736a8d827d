#pragma once

#include "LayerSurfaces.hpp"
#include "PainterState.hpp"

#include <QImage>

#include <utility>

namespace Lantern
{
/// The pixels that a source is to compute: those of a picture that waits, else all that there are.
[[nodiscard]] inline QRect wantedPixels(const PainterContext::Private& context)
{
    return context.image ? context.clipRect() : context.deviceRect();
}

/// Draws what can be seen of a source: together with what else waits for the picture, or through a surface where the clip is an
/// outline, the painter's coordinates are not the pixels, or a graphics card paints.
template <class Source>
void drawPixels(PainterContext::Private& context, Source pixels)
{
    if (context.image) {
        context.composition.add(std::move(pixels));
        return;
    }
    QRect bounds;
    for (const QRectF& part : context.visibleParts(QRectF(pixels.area())))
        bounds |= part.toAlignedRect();
    bounds &= context.deviceRect();
    if (bounds.isEmpty())
        return;
    LayerSurface& surface = LayerSurfaces::instance().acquire(context.deviceSize, bounds);
    Composition composition;
    composition.add(std::move(pixels));
    composition.drawInto(surface.image, {bounds});
    QPainter& painter = context.devicePainter(1.0);
    if (context.isRaster)
        painter.drawImage(bounds.topLeft(), surface.image, bounds);
    else // the whole of the picture would go to the card
        painter.drawImage(bounds.topLeft(), surface.image.copy(bounds));
    LayerSurfaces::instance().release();
}
}
