#pragma once

#include <QRegion>

namespace Lantern
{
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
