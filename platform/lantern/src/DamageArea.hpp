#pragma once

#include <QRectF>
#include <QRegion>

namespace Lantern
{
/// The pixels that show `area` of a window of so many pixels, rounded outwards. `ratio`: pixels for one of the window's
/// coordinates.
[[nodiscard]] inline QRegion devicePixels(const QRegion& area, qreal ratio, QSize pixels)
{
    QRegion result;
    for (const QRect& rect : area)
        result += QRectF(QPointF(rect.topLeft()) * ratio, QSizeF(rect.size()) * ratio).toAlignedRect();
    return result.intersected(QRect(QPoint(), pixels));
}

/// For a graphics card: clipping to several rectangles takes a stencil and each drawing once more, so that one rectangle around
/// them is cheaper unless it is mostly waste.
[[nodiscard]] inline QRegion oneRectWhereCheap(const QRegion& region)
{
    qint64 needed = 0;
    for (const QRect& rect : region)
        needed += qint64(rect.width()) * rect.height();
    const QRect around = region.boundingRect();
    constexpr qint64 kMostWaste = 2; // times what is needed
    return qint64(around.width()) * around.height() <= kMostWaste * needed ? QRegion(around) : region;
}
}
