#include "FramedBox.hpp"

#include "PixelMath.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// A screen may stretch the table so much.
constexpr double kMostUnevenness = 0.03;

unsigned coverageOf(double insidePx)
{
    return unsigned(int(std::clamp(insidePx + 0.5, 0.0, 1.0) * 255.0 + 0.5));
}
}

bool FramedBox::canDraw(const QTransform& t)
{
    const double x = std::hypot(t.m11(), t.m12()), y = std::hypot(t.m21(), t.m22());
    const double shear = std::abs(t.m11() * t.m21() + t.m12() * t.m22());
    return t.isAffine() && t.isInvertible() && std::abs(x - y) <= kMostUnevenness * x && shear <= kMostUnevenness * x * y;
}

FramedBox::FramedBox(const QRect& area, const QTransform& toDevice, const QRectF& box, const Shape& shape)
    : PixelSource(QRect()), m_shape(shape), m_scale(std::sqrt(std::abs(toDevice.determinant())))
{
    const QTransform toBox = toDevice.inverted();
    const double half = shape.strokeWidth / 2.0;
    // The pixels at the outer edge, which it may half cover.
    const double margin = 1.0 / m_scale;
    const QRectF outer = box.adjusted(-half - margin, -half - margin, half + margin, half + margin);
    m_area = toDevice.mapRect(outer).intersected(QRectF(area)).toAlignedRect() & area;
    m_spans = RoundBoxSpans(toBox, box, half + margin, std::max(half, shape.radius) + margin);
    m_toBox = toBox * QTransform::fromTranslate(-box.center().x(), -box.center().y());
    m_straightX = box.width() / 2.0 - shape.radius;
    m_straightY = box.height() / 2.0 - shape.radius;
    m_isSolid = shape.fill >> 24 == 255u;
}

PixelSpan FramedBox::span(int y) const
{
    return m_spans.span(m_area, y);
}

void FramedBox::draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const
{
    const int fullBegin = std::clamp(span.fullBegin, begin, end);
    const int fullEnd = std::clamp(span.fullEnd, fullBegin, end);
    drawEdge(row, y, begin, fullBegin);
    if (m_isSolid)
        std::fill(row + fullBegin, row + fullEnd, m_shape.fill);
    else if (m_shape.fill != 0)
        for (int x = fullBegin; x < fullEnd; ++x)
            row[x] = blendedPixel(m_shape.fill, row[x]);
    drawEdge(row, y, fullEnd, end);
}

void FramedBox::drawEdge(QRgb* row, int y, int begin, int end) const
{
    const double halfPx = m_shape.strokeWidth / 2.0 * m_scale;
    for (int x = begin; x < end; ++x) {
        const double column = x + 0.5, line = y + 0.5;
        const double inX = m_toBox.m11() * column + m_toBox.m21() * line + m_toBox.dx();
        const double inY = m_toBox.m12() * column + m_toBox.m22() * line + m_toBox.dy();
        const double acrossX = std::abs(inX) - m_straightX, acrossY = std::abs(inY) - m_straightY;
        const bool isInCorner = acrossX > 0.0 && acrossY > 0.0 && m_shape.radius > 0.0;
        const double distance = isInCorner ? std::sqrt(acrossX * acrossX + acrossY * acrossY) : std::max(acrossX, acrossY);
        const double outsidePx = (distance - m_shape.radius) * m_scale;
        if (outsidePx >= halfPx + 0.5)
            continue;
        QRgb pixel = row[x];
        if (m_shape.fill != 0)
            pixel = blendedPixel(scaledPixel(m_shape.fill, coverageOf(-outsidePx)), pixel);
        if (m_shape.stroke != 0)
            pixel = blendedPixel(scaledPixel(m_shape.stroke, coverageOf(halfPx - outsidePx) - coverageOf(-halfPx - outsidePx)),
                                 pixel);
        row[x] = pixel;
    }
}
}
