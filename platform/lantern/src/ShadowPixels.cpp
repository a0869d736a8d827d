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

/// Whether the covered share is 0 at half a pixel from the box. That of an ellipse, an approximation, may reach further.
bool hasRoundCorners(const RoundBox& box)
{
    const Corners& corners = box.corners;
    const auto isCircle = [](Vecta::Vector2f radii) { return radii.x == radii.y || radii.x <= 0.f || radii.y <= 0.f; };
    return isCircle(corners.topLeft) && isCircle(corners.topRight) && isCircle(corners.bottomRight)
        && isCircle(corners.bottomLeft);
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
    if (shadow.blurPx > 0.f && !m_shadowBox.rect.isEmpty()) {
        m_mask = ShadowMasks::instance().mask(m_shadowBox, shadow.blurPx);
        m_shadowPlaces.emplace(*m_mask, m_places.toLocal(), m_shadowBox.rect);
    } else {
        m_sharp = RoundBoxCoverage(m_shadowBox, scale);
    }
    const QRectF outer = m_isInset ? toQt(box.rect) : toQt(m_shadowBox.rect).adjusted(-reach, -reach, reach, reach);
    m_area = toDevice.mapRect(outer.adjusted(-edge, -edge, edge, edge)).intersected(QRectF(area)).toAlignedRect() & area;
    m_outer = BoxEdges(m_places.toLocal(), outer.adjusted(-edge, -edge, edge, edge));
    const auto addClear = [this](const QRectF& clear) {
        if (clear.width() > 0.0 && clear.height() > 0.0)
            m_clear[std::size_t(m_clearCount++)] = BoxEdges(m_places.toLocal(), clear);
    };
    if (m_isInset) {
        addClear(middleOf(m_shadowBox, reach + edge));
    } else {
        // All but the corners.
        const double corner = double(box.largestRadius()) + edge / 2.0, side = edge / 2.0;
        addClear(toQt(box.rect).adjusted(side, corner, -side, -corner));
        addClear(toQt(box.rect).adjusted(corner, side, -corner, -side));
    }
    m_hasNear = hasRoundCorners(box);
    if (m_hasNear)
        m_near = BoxEdges(m_places.toLocal(), toQt(box.rect).adjusted(-edge / 2.0, -edge / 2.0, edge / 2.0, edge / 2.0));
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
    for (int i = 0; i < m_clearCount; ++i)
        if (const PixelSpan span = m_clear[std::size_t(i)].span(m_area, y);
            span.fullEnd - span.fullBegin > clear.fullEnd - clear.fullBegin)
            clear = span;
    const int clearBegin = std::clamp(clear.fullBegin, begin, end);
    const int clearEnd = std::clamp(clear.fullEnd, clearBegin, end);
    const PixelSpan near = m_hasNear ? m_near.span(m_area, y) : PixelSpan{begin, end, begin, end};
    drawRun(row, y, begin, clearBegin, near);
    drawRun(row, y, clearEnd, end, near);
}

/// `castAt(column)`: what the shadow covers, 0..1.
template <class Cast>
void ShadowPixels::drawAtBox(QRgb* row, int y, int begin, int end, Cast castAt) const
{
    for (int column = begin; column < end; ++column) {
        const double inBox = m_box.at(m_places.x(column, y), m_places.y(column, y));
        const double clip = m_isInset ? inBox : 1.0 - inBox;
        if (clip <= 0.0)
            continue;
        const double cast = castAt(column);
        const auto share = unsigned(int((m_isInset ? 1.0 - cast : cast) * clip * 255.0 + 0.5));
        if (share > 0)
            row[column] = blendedPixel(scaledPixel(m_pixel, share), row[column]);
    }
}

void ShadowPixels::drawRun(QRgb* row, int y, int begin, int end, const PixelSpan& near) const
{
    if (begin >= end)
        return;
    const int nearBegin = std::clamp(near.begin, begin, end);
    const int nearEnd = std::clamp(near.end, nearBegin, end);
    if (!m_mask) {
        const auto castAt = [&](int column) { return m_sharp.at(m_places.x(column, y), m_places.y(column, y)); };
        drawAtBox(row, y, m_isInset ? nearBegin : begin, m_isInset ? nearEnd : end, castAt);
        return;
    }
    const ShadowPlaces& places = *m_shadowPlaces;
    drawAtBox(row, y, nearBegin, nearEnd, [&](int column) { return places.at(column, y) / double(ShadowPlaces::kFull); });
    if (m_isInset)
        return;
    places.draw(row, y, begin, nearBegin, m_pixel);
    places.draw(row, y, nearEnd, end, m_pixel);
}
}
