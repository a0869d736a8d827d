#include "BoxInterior.hpp"

#include "CopiedPixels.hpp"
#include "ToQt.hpp"

#include <algorithm>

namespace Lantern
{
namespace
{
/// A part that reaches over the box's edge ends there: this far from it a part is inside. The painter rounds places to smaller
/// parts of a pixel.
constexpr qreal kEdgePx = 0.25;
}

bool fillBoxInterior(PainterContext::Private& context, const Vecta::Rect& rect, float cornerRadius, const Style& style)
{
    if (!context.fromDevice.isIdentity())
        return false;
    const float half = hasVisibleStroke(style) ? style.strokeWidth / 2.f : 0.f;
    const auto parts =
        context.visibleParts(context.toDevice({rect.x - half, rect.y - half, rect.width + 2.f * half, rect.height + 2.f * half}));
    bool isInvertible = false;
    const QTransform toBox = context.world.inverted(&isInvertible);
    if (!isInvertible)
        return false;
    const QRectF inner = toQt(rect).adjusted(half, half, -half, -half);
    const qreal corner = cornerRadius > 0.f ? qreal(fittingRadius(rect, cornerRadius)) : 0.0;
    const QRectF wide = inner.adjusted(0, std::max(0.0, corner - half), 0, -std::max(0.0, corner - half));
    const QRectF tall = inner.adjusted(std::max(0.0, corner - half), 0, -std::max(0.0, corner - half), 0);
    for (const QRectF& part : parts) {
        const QRectF seen = toBox.mapRect(part.adjusted(-kEdgePx, -kEdgePx, kEdgePx, kEdgePx));
        if (!wide.contains(seen) && !tall.contains(seen))
            return false;
    }
    if (style.hasFill && style.fill.alpha > 0.f && !parts.isEmpty()) {
        const QColor color = toQt(style.fill);
        if (context.image && color.alpha() == 255 && context.opacity >= 1.0) {
            QRect filled;
            for (const QRectF& part : parts)
                filled |= part.toAlignedRect();
            context.composition.add(FilledPixels(filled, pixelOf(color)));
            return true;
        }
        QPainter& painter = context.devicePainter(context.opacity);
        for (const QRectF& part : parts)
            painter.fillRect(part.toAlignedRect(), color);
    }
    return true;
}
}
