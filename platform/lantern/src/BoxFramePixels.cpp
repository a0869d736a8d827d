#include "BoxFramePixels.hpp"

#include "PixelMath.hpp"
#include "ToQt.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
BoxFramePixels::BoxFramePixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxFrame& frame,
                               double opacity)
    : PixelSource(QRect()), m_places(toDevice), m_outer(box, m_places.pixelsPerUnit()), m_left(double(box.rect.x)),
      m_top(double(box.rect.y)), m_right(double(box.rect.right())), m_bottom(double(box.rect.bottom()))
{
    const auto side = [opacity](float width, const Bedrock::Color& color) {
        return Side{double(width), scaledPixel(pixelOf(toQt(color.premultiplied())), unsigned(std::lround(opacity * 255.0)))};
    };
    m_sides = {side(frame.top, frame.topColor), side(frame.right, frame.rightColor), side(frame.bottom, frame.bottomColor),
               side(frame.left, frame.leftColor)};
    const RoundBox inner = box.inside(frame.top, frame.right, frame.bottom, frame.left);
    m_inner = RoundBoxCoverage(inner, m_places.pixelsPerUnit());
    const QRectF rect = toQt(box.rect);
    const double edge = 1.0 / m_places.pixelsPerUnit();
    m_area = toDevice.mapRect(rect.adjusted(-edge, -edge, edge, edge)).intersected(QRectF(area)).toAlignedRect() & area;
    m_edges = BoxEdges(m_places.toLocal(), rect.adjusted(-edge, -edge, edge, edge));
    const double inset = 0.3 * double(inner.largestRadius()) + edge;
    const QRectF clear = toQt(inner.rect).adjusted(inset, inset, -inset, -inset);
    m_hasClear = clear.width() > 0.0 && clear.height() > 0.0;
    if (m_hasClear)
        m_clear = BoxEdges(m_places.toLocal(), clear);
}

PixelSpan BoxFramePixels::span(int y) const
{
    PixelSpan span = m_edges.span(m_area, y);
    span.fullBegin = span.fullEnd = span.begin;
    return span;
}

/// Of the side that is nearest, measured in its widths.
QRgb BoxFramePixels::pixel(double x, double y) const
{
    const double distances[] = {y - m_top, m_right - x, m_bottom - y, x - m_left};
    double nearest = 0.0;
    const Side* found = nullptr;
    for (std::size_t i = 0; i < 4; ++i) {
        if (m_sides[i].width <= 0.0)
            continue;
        const double inWidths = distances[i] / m_sides[i].width;
        if (!found || inWidths < nearest) {
            found = &m_sides[i];
            nearest = inWidths;
        }
    }
    return found ? found->pixel : 0;
}

void BoxFramePixels::draw(QRgb* row, int y, int begin, int end, const PixelSpan&) const
{
    PixelSpan clear;
    if (m_hasClear)
        clear = m_clear.span(m_area, y);
    for (int column = begin; column < end; ++column) {
        if (column >= clear.fullBegin && column < clear.fullEnd) {
            column = clear.fullEnd - 1;
            continue;
        }
        const double x = m_places.x(column, y), localY = m_places.y(column, y);
        const double share = m_outer.at(x, localY) * (1.0 - m_inner.at(x, localY));
        if (share > 0.0)
            row[column] = blendedPixel(scaledPixel(pixel(x, localY), unsigned(int(share * 255.0 + 0.5))), row[column]);
    }
}
}
