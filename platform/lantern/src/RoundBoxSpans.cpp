#include "RoundBoxSpans.hpp"

#include <algorithm>

namespace Lantern
{
RoundBoxSpans::RoundBoxSpans(const QTransform& toBox, const QRectF& box, double edge, double corner)
    : m_outer(toBox, box.adjusted(-edge, -edge, edge, edge))
{
    const QRectF wide = box.adjusted(edge, corner, -edge, -corner);
    const QRectF tall = box.adjusted(corner, edge, -corner, -edge);
    m_hasWide = wide.width() > 0.0 && wide.height() > 0.0;
    m_hasTall = tall.width() > 0.0 && tall.height() > 0.0;
    if (m_hasWide)
        m_wide = BoxEdges(toBox, wide);
    if (m_hasTall)
        m_tall = BoxEdges(toBox, tall);
}

PixelSpan RoundBoxSpans::span(const QRect& area, int y) const
{
    PixelSpan span = m_outer.span(area, y);
    PixelSpan inner = m_hasWide ? m_wide.span(area, y) : PixelSpan();
    if (const PixelSpan tall = m_hasTall ? m_tall.span(area, y) : PixelSpan();
        tall.fullEnd - tall.fullBegin > inner.fullEnd - inner.fullBegin)
        inner = tall;
    span.fullBegin = std::clamp(inner.fullBegin, span.begin, span.end);
    span.fullEnd = std::clamp(inner.fullEnd, span.fullBegin, span.end);
    return span;
}
}
