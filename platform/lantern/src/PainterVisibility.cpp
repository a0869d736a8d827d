// What of a drawing can show: places in device pixels, compared with the damage and the clip.

#include "PainterState.hpp"
#include "ToQt.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// Edges of what is turned or scaled may colour a neighbouring pixel.
constexpr qreal kSmoothEdgePx = 0.5;

qreal edgePx(const QTransform& world, Edges edges)
{
    return edges == Edges::Smooth || world.type() > QTransform::TxTranslate ? kSmoothEdgePx : 0.0;
}

/// As QRectF::intersects for what is not empty, without a call.
bool overlap(const QRectF& a, const QRectF& b)
{
    return a.left() < b.right() && b.left() < a.right() && a.top() < b.bottom() && b.top() < a.bottom();
}
}

QRectF PainterContext::Private::toDevice(const Vecta::Rect& rect, Edges edges) const
{
    const QRectF bounds = world.mapRect(toQt(rect));
    const qreal edge = bounds.isEmpty() ? 0.0 : edgePx(world, edges);
    return bounds.adjusted(-edge, -edge, edge, edge);
}

QRect PainterContext::Private::pixelsOf(const Vecta::Rect& rect, Edges edges) const
{
    const QRectF seen = isFinite(rect) ? toDevice(rect, edges).intersected(clipBounds) : QRectF();
    return seen.isEmpty() ? QRect() : seen.toAlignedRect().intersected(deviceRect());
}

PainterContext::Private::Parts PainterContext::Private::visibleParts(const QRectF& bounds) const
{
    Parts parts;
    const QRectF seen = bounds.intersected(clipBounds);
    if (seen.isEmpty())
        return parts;
    for (const QRectF& rect : damage)
        if (overlap(rect, seen))
            parts.append(rect.intersected(seen));
    return parts;
}

bool PainterContext::Private::hasVisibleParts(const QRectF& bounds) const
{
    const QRectF seen = bounds.intersected(clipBounds);
    return !seen.isEmpty()
        && std::any_of(damage.begin(), damage.end(), [&seen](const QRectF& rect) { return overlap(rect, seen); });
}

bool PainterContext::Private::isVisible(const Vecta::Rect& rect, Edges edges) const
{
    // As toDevice, in fewer steps, for all that is not drawn. What is no number is not visible.
    const double halfWidth = double(rect.width) / 2.0, halfHeight = double(rect.height) / 2.0;
    const double middleX = rect.x + halfWidth, middleY = rect.y + halfHeight;
    const double edge = edgePx(world, edges);
    const double x = world.m11() * middleX + world.m21() * middleY + world.dx();
    const double y = world.m12() * middleX + world.m22() * middleY + world.dy();
    const double reachX = std::abs(world.m11()) * halfWidth + std::abs(world.m21()) * halfHeight + edge;
    const double reachY = std::abs(world.m12()) * halfWidth + std::abs(world.m22()) * halfHeight + edge;
    const auto isReached = [=](const QRectF& area) {
        return x - reachX < area.right() && x + reachX > area.left() && y - reachY < area.bottom() && y + reachY > area.top();
    };
    return !rect.isEmpty() && isReached(clipBounds) && std::any_of(damage.begin(), damage.end(), isReached);
}
}
