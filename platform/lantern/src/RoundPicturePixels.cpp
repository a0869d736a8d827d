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
    const double edge = 1.0 / m_places.pixelsPerUnit();
    m_spans = RoundBoxSpans(m_places.toLocal(), toQt(box.rect), edge, double(box.largestRadius()) + edge);
}

PixelSpan RoundPicturePixels::span(int y) const
{
    return m_spans.span(m_area, y);
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
