#include "ShadowPixels.hpp"

#include "PixelMath.hpp"
#include "ToQt.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// A rectangle inside of the box, whatever its corners.
QRectF middleOf(const RoundBox& box, double margin)
{
    // A quarter of a circle leaves that share of its radius free.
    const double inset = 0.3 * double(box.largestRadius()) + margin;
    return toQt(box.rect).adjusted(inset, inset, -inset, -inset);
}
}

ShadowPixels::ShadowPixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxShadow& shadow,
                           double opacity)
    : PixelSource(QRect()), m_places(toDevice), m_isInset(shadow.isInset),
      m_pixel(scaledPixel(pixelOf(toQt(shadow.color.premultiplied())), unsigned(std::lround(opacity * 255.0))))
{
    m_shadowBox = box.grown(shadow.isInset ? -shadow.spreadPx : shadow.spreadPx);
    m_shadowBox.rect.x += shadow.offset.x;
    m_shadowBox.rect.y += shadow.offset.y;
    if (m_pixel >> 24 == 0 || (m_shadowBox.rect.isEmpty() && !m_isInset))
        return;
    const double scale = m_places.pixelsPerUnit();
    const double edge = 1.0 / scale;
    const double reach = double(shadow.blurReachPx());
    m_box = RoundBoxCoverage(box, scale);
    if (shadow.blurPx > 0.f && !m_shadowBox.rect.isEmpty())
        m_mask = ShadowMasks::instance().mask(m_shadowBox, shadow.blurPx);
    else
        m_sharp = RoundBoxCoverage(m_shadowBox, scale);
    const QRectF outer = m_isInset ? toQt(box.rect) : toQt(m_shadowBox.rect).adjusted(-reach, -reach, reach, reach);
    m_area = toDevice.mapRect(outer.adjusted(-edge, -edge, edge, edge)).intersected(QRectF(area)).toAlignedRect() & area;
    m_outer = BoxEdges(m_places.toLocal(), outer.adjusted(-edge, -edge, edge, edge));
    const QRectF clear = m_isInset ? middleOf(m_shadowBox, reach + edge) : middleOf(box, edge);
    m_hasClear = clear.width() > 0.0 && clear.height() > 0.0;
    if (m_hasClear)
        m_clear = BoxEdges(m_places.toLocal(), clear);
}

PixelSpan ShadowPixels::span(int y) const
{
    PixelSpan span = m_outer.span(m_area, y);
    span.fullBegin = span.fullEnd = span.begin;
    return span;
}

void ShadowPixels::draw(QRgb* row, int y, int begin, int end, const PixelSpan&) const
{
    PixelSpan clear;
    if (m_hasClear)
        clear = m_clear.span(m_area, y);
    const int clearBegin = std::clamp(clear.fullBegin, begin, end);
    const int clearEnd = std::clamp(clear.fullEnd, clearBegin, end);
    drawRun(row, y, begin, clearBegin);
    drawRun(row, y, clearEnd, end);
}

void ShadowPixels::drawRun(QRgb* row, int y, int begin, int end) const
{
    const Vecta::Rect& shadow = m_shadowBox.rect;
    for (int column = begin; column < end; ++column) {
        const double x = m_places.x(column, y), localY = m_places.y(column, y);
        const double inBox = m_box.at(x, localY);
        const double clip = m_isInset ? inBox : 1.0 - inBox;
        if (clip <= 0.0)
            continue;
        const double thrown = m_mask
            ? m_mask->at(x - double(shadow.x), localY - double(shadow.y), double(shadow.width), double(shadow.height))
            : m_sharp.at(x, localY);
        const auto share = unsigned(int((m_isInset ? 1.0 - thrown : thrown) * clip * 255.0 + 0.5));
        if (share > 0)
            row[column] = blendedPixel(scaledPixel(m_pixel, share), row[column]);
    }
}
}
