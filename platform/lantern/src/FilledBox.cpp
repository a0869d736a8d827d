#include "FilledBox.hpp"

#include "PixelMath.hpp"

#include <QRectF>
#include <QTransform>

#include <algorithm>

namespace Lantern
{
FilledBox::FilledBox(const QRect& area, const QTransform& toDevice, const QRectF& box, QRgb pixel)
    : PixelSource(toDevice.mapRect(box).intersected(QRectF(area)).toAlignedRect() & area), m_edges(toDevice.inverted(), box),
      m_pixel(pixel)
{
    m_isSolid = pixel >> 24 == 255u;
    m_between = Between::Convex;
}

void FilledBox::draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const
{
    const EdgeRow edges = m_edges.row(y);
    const int fullBegin = std::clamp(span.fullBegin, begin, end);
    const int fullEnd = std::clamp(span.fullEnd, fullBegin, end);
    const auto drawEdge = [&](int x) { row[x] = blendedPixel(scaledPixel(m_pixel, edges.coverage(x)), row[x]); };
    for (int x = begin; x < fullBegin; ++x)
        drawEdge(x);
    if (m_isSolid)
        std::fill(row + fullBegin, row + fullEnd, m_pixel);
    else
        for (int x = fullBegin; x < fullEnd; ++x)
            row[x] = blendedPixel(m_pixel, row[x]);
    for (int x = fullEnd; x < end; ++x)
        drawEdge(x);
}
}
