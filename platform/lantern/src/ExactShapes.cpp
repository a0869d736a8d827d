#include "ExactShapes.hpp"

#include "CopiedPixels.hpp"
#include "FilledBox.hpp"
#include "PixelMath.hpp"
#include "ToQt.hpp"

#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPen>

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
bool isWhole(qreal value)
{
    return value == std::floor(value);
}
}

void fillExactRect(PainterContext::Private& context, const QRectF& rect, const QColor& color)
{
    if (context.world.type() <= QTransform::TxScale) {
        const QRectF device = context.world.mapRect(rect);
        if (isWhole(device.x()) && isWhole(device.y()) && isWhole(device.width()) && isWhole(device.height())) {
            if (!context.image) {
                context.readyPainter().fillRect(rect, color);
                return;
            }
            if (color.alpha() == 255 && context.opacity >= 1.0) {
                context.composition.add(FilledPixels(device.intersected(context.clipBounds).toAlignedRect(), pixelOf(color)));
                return;
            }
        }
    }
    if (context.image && context.world.isInvertible()) {
        const QRgb pixel = scaledPixel(pixelOf(color), unsigned(qRound(context.opacity * 255.0)));
        context.composition.add(FilledBox(context.clipRect(), context.world, rect, pixel));
        return;
    }
    QPainterPath path;
    path.addRect(rect);
    context.readyPainter().fillPath(path, color);
}

void drawExactPath(PainterContext::Private& context, const QPainterPath& path, const QPen& pen, const QBrush& brush)
{
    const QTransform& world = context.world;
    const qreal scale = std::max(std::hypot(world.m11(), world.m12()), std::hypot(world.m21(), world.m22()));
    QPainter& painter = context.readyPainter();
    if (pen.style() == Qt::NoPen || pen.widthF() * scale > 1.01) {
        painter.setPen(pen);
        painter.setBrush(brush);
        painter.drawPath(path);
        return;
    }
    if (brush.style() != Qt::NoBrush)
        painter.fillPath(path, brush);
    QPainterPathStroker outline(pen);
    painter.fillPath(outline.createStroke(path), pen.brush());
}
}
