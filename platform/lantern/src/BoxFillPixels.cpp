#include "BoxFillPixels.hpp"

#include "PixelMath.hpp"
#include "ToQt.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// The place in the copy that it lies in; false outside of the only one.
bool foldInto(double& place, double start, double length, bool repeats)
{
    place -= start;
    if (repeats)
        place -= std::floor(place / length) * length;
    return place >= 0.0 && place <= length;
}

QRgb mixed(QRgb a, QRgb b, double fraction)
{
    return mixedPixel(a, b, unsigned(int(fraction * 256.0)));
}
}

BoxFillPixels::BoxFillPixels(const QRect& area, const QTransform& toDevice, const RoundBox& box, const BoxFill& fill,
                             double opacity)
    : PixelSource(QRect()), m_places(toDevice), m_box(box, m_places.pixelsPerUnit()),
      m_opacity(unsigned(std::lround(opacity * 255.0))), m_repeatsX(fill.repeatsX), m_repeatsY(fill.repeatsY),
      m_tileX(double(fill.tile.x)), m_tileY(double(fill.tile.y)), m_tileWidth(double(fill.tile.width)),
      m_tileHeight(double(fill.tile.height))
{
    m_hasTile = !fill.image.isNull() || !fill.gradient.stops.empty();
    if (m_hasTile && fill.tile.isEmpty())
        return;
    const QRectF rect = toQt(box.rect);
    const double edge = 1.0 / m_places.pixelsPerUnit();
    m_area = toDevice.mapRect(rect.adjusted(-edge, -edge, edge, edge)).intersected(QRectF(area)).toAlignedRect() & area;
    m_edges = BoxEdges(m_places.toLocal(), rect.adjusted(-edge, -edge, edge, edge));
    const auto& c = box.corners;
    const QRectF inner = rect.adjusted(edge, double(std::max(c.topLeft.y, c.topRight.y)) + edge, -edge,
                                       -double(std::max(c.bottomLeft.y, c.bottomRight.y)) - edge);
    m_hasInner = inner.width() > 0.0 && inner.height() > 0.0;
    if (m_hasInner)
        m_inner = BoxEdges(m_places.toLocal(), inner);
    const QRectF tall = rect.adjusted(double(std::max(c.topLeft.x, c.bottomLeft.x)) + edge, edge,
                                      -double(std::max(c.topRight.x, c.bottomRight.x)) - edge, -edge);
    m_hasTall = tall.width() > 0.0 && tall.height() > 0.0;
    if (m_hasTall)
        m_tall = BoxEdges(m_places.toLocal(), tall);
    bool isOpaque = false;
    if (!fill.image.isNull()) {
        m_image = fill.image.format() == QImage::Format_RGB32 ? fill.image
                                                              : fill.image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        m_source.bits = reinterpret_cast<const QRgb*>(m_image.constBits());
        m_source.stride = int(m_image.bytesPerLine()) / int(sizeof(QRgb));
        isOpaque = m_image.format() == QImage::Format_RGB32 && opacity >= 1.0;
    } else if (m_hasTile) {
        m_gradient = GradientColors(fill.gradient, opacity);
        isOpaque = m_gradient.isOpaque();
    } else {
        m_color = scaledPixel(pixelOf(toQt(fill.color.premultiplied())), m_opacity);
        isOpaque = m_color >> 24 == 255u;
    }
    m_isOneGradient = m_hasTile && fill.image.isNull() && m_gradient.isLinear() && fill.tile.x <= box.rect.x
        && fill.tile.right() >= box.rect.right() && fill.tile.y <= box.rect.y && fill.tile.bottom() >= box.rect.bottom();
    const bool fillsX = m_repeatsX || (fill.tile.x <= box.rect.x && fill.tile.right() >= box.rect.right());
    const bool fillsY = m_repeatsY || (fill.tile.y <= box.rect.y && fill.tile.bottom() >= box.rect.bottom());
    m_isSolid = isOpaque && (!m_hasTile || (fillsX && fillsY));
}

PixelSpan BoxFillPixels::span(int y) const
{
    PixelSpan span = m_edges.span(m_area, y);
    const PixelSpan inner = m_hasInner ? m_inner.span(m_area, y) : PixelSpan();
    span.fullBegin = std::clamp(inner.fullBegin, span.begin, span.end);
    span.fullEnd = std::clamp(inner.fullEnd, span.fullBegin, span.end);
    return span;
}

QRgb BoxFillPixels::pixel(double x, double y) const
{
    if (!m_hasTile)
        return m_color;
    if (!foldInto(x, m_tileX, m_tileWidth, m_repeatsX) || !foldInto(y, m_tileY, m_tileHeight, m_repeatsY))
        return 0;
    return m_image.isNull() ? m_gradient.at(x, y) : scaledPixel(picturePixel(x, y), m_opacity);
}

/// Bilinear; past the edge of the picture follows its other edge where it repeats, else the pixel at the edge.
QRgb BoxFillPixels::picturePixel(double x, double y) const
{
    const int width = m_image.width(), height = m_image.height();
    const double u = x * width / m_tileWidth - 0.5, v = y * height / m_tileHeight - 0.5;
    const int left = int(std::floor(u)), top = int(std::floor(v));
    const auto folded = [](int index, int count, bool repeats) {
        return repeats ? (index % count + count) % count : std::clamp(index, 0, count - 1);
    };
    const int columns[2] = {folded(left, width, m_repeatsX), folded(left + 1, width, m_repeatsX)};
    const auto line = [&](int row) {
        const QRgb* const pixels = m_source.bits + std::ptrdiff_t(folded(row, height, m_repeatsY)) * m_source.stride;
        return mixed(pixels[columns[0]], pixels[columns[1]], u - left);
    };
    const QRgb result = mixed(line(top), line(top + 1), v - top);
    return m_image.format() == QImage::Format_RGB32 ? result | 0xff000000u : result;
}

void BoxFillPixels::drawEdge(QRgb* row, int y, int begin, int end) const
{
    for (int column = begin; column < end; ++column) {
        const double x = m_places.x(column, y), localY = m_places.y(column, y);
        const QRgb source = scaledPixel(pixel(x, localY), unsigned(int(m_box.at(x, localY) * 255.0 + 0.5)));
        row[column] = blendedPixel(source, row[column]);
    }
}

void BoxFillPixels::draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const
{
    // Between round corners, the row may be covered further than the box without them is.
    PixelSpan full = span;
    if (m_hasTall)
        if (const PixelSpan tall = m_tall.span(m_area, y); tall.fullEnd - tall.fullBegin > full.fullEnd - full.fullBegin)
            full = tall;
    const int fullBegin = std::clamp(full.fullBegin, begin, end);
    const int fullEnd = std::clamp(full.fullEnd, fullBegin, end);
    drawEdge(row, y, begin, fullBegin);
    drawFull(row, y, fullBegin, fullEnd);
    drawEdge(row, y, fullEnd, end);
}

void BoxFillPixels::drawFull(QRgb* row, int y, int begin, int end) const
{
    const auto draw = [&](auto sourceAt) {
        for (int column = begin; column < end; ++column)
            row[column] = m_isSolid ? sourceAt(column) : blendedPixel(sourceAt(column), row[column]);
    };
    if (!m_hasTile) {
        draw([this](int) { return m_color; });
        return;
    }
    if (!m_isOneGradient) {
        draw([&](int column) { return pixel(m_places.x(column, y), m_places.y(column, y)); });
        return;
    }
    const auto offsetOf = [&](int column) {
        return m_gradient.offsetOf(m_places.x(column, y) - m_tileX, m_places.y(column, y) - m_tileY);
    };
    const double first = offsetOf(0), perColumn = offsetOf(1) - first;
    draw([&](int column) { return m_gradient.atOffset(first + column * perColumn); });
}
}
