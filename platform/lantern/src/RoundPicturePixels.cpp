#include "RoundPicturePixels.hpp"

#include "PixelMath.hpp"
#include "ToQt.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace Lantern
{
RoundPicturePixels::RoundPicturePixels(SampledPixels picture, const QTransform& toDevice, const RoundBox& box)
    : PixelSource(picture.area()), m_picture(std::move(picture)), m_places(toDevice), m_box(box, m_places.pixelsPerUnit())
{
    m_isSolid = m_picture.isSolid();
    const QRectF rect = toQt(box.rect);
    const double edge = 1.0 / m_places.pixelsPerUnit();
    m_outer = BoxEdges(m_places.toLocal(), rect.adjusted(-edge, -edge, edge, edge));
    const double corner = double(box.largestRadius()) + edge;
    const QRectF wide = rect.adjusted(edge, corner, -edge, -corner);
    const QRectF tall = rect.adjusted(corner, edge, -corner, -edge);
    m_hasWide = wide.width() > 0.0 && wide.height() > 0.0;
    m_hasTall = tall.width() > 0.0 && tall.height() > 0.0;
    if (m_hasWide)
        m_wide = BoxEdges(m_places.toLocal(), wide);
    if (m_hasTall)
        m_tall = BoxEdges(m_places.toLocal(), tall);
}

PixelSpan RoundPicturePixels::span(int y) const
{
    PixelSpan span = m_outer.span(m_area, y);
    PixelSpan inner = m_hasWide ? m_wide.span(m_area, y) : PixelSpan();
    if (const PixelSpan tall = m_hasTall ? m_tall.span(m_area, y) : PixelSpan();
        tall.fullEnd - tall.fullBegin > inner.fullEnd - inner.fullBegin)
        inner = tall;
    span.fullBegin = std::clamp(inner.fullBegin, span.begin, span.end);
    span.fullEnd = std::clamp(inner.fullEnd, span.fullBegin, span.end);
    return span;
}

void RoundPicturePixels::draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const
{
    const int fullBegin = std::clamp(span.fullBegin, begin, end);
    const int fullEnd = std::clamp(span.fullEnd, fullBegin, end);
    drawEdge(row, y, begin, fullBegin);
    if (fullBegin < fullEnd)
        m_picture.drawWhole(row, y, fullBegin, fullEnd);
    drawEdge(row, y, fullEnd, end);
}

void RoundPicturePixels::drawEdge(QRgb* row, int y, int begin, int end) const
{
    std::array<QRgb, 64> samples;
    while (begin < end) {
        const int next = std::min(end, begin + int(samples.size()));
        samples.fill(0u);
        m_picture.drawWhole(samples.data() - begin, y, begin, next);
        for (int column = begin; column < next; ++column) {
            const double covered = m_box.at(m_places.x(column, y), m_places.y(column, y));
            const QRgb sample = scaledPixel(samples[std::size_t(column - begin)], unsigned(int(covered * 255.0 + 0.5)));
            row[column] = blendedPixel(sample, row[column]);
        }
        begin = next;
    }
}
}
