#include "SampledPixels.hpp"

#include <algorithm>
#include <cmath>

namespace Lantern
{
namespace
{
/// Places have 16 bits before the point. A pixel at the edge may lie a pixel outside of the picture.
constexpr int kMostSidePx = 16384;
constexpr double kMostSourcePxPerPixel = 8192.0;
/// Memory answers long after a row was asked for.
constexpr int kRowsAhead = 8;
/// Smaller pictures stay in the fast caches.
constexpr int kLeastFetchedPx = 256 * 256;

QImage readable(const QImage& image)
{
    const QImage::Format format = image.format();
    return format == QImage::Format_RGB32 || format == QImage::Format_ARGB32_Premultiplied
        ? image
        : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}
}

SampledPixels::SampledPixels(const QRect& device, const QRect& area, const QImage& image, const QTransform& toDevice,
                             const QRectF& target, const QRectF& source, unsigned opacity)
    : PixelSource(QRect()), m_image(readable(image)), m_opacity(opacity)
{
    bool isInvertible = false;
    const QTransform toTarget = toDevice.inverted(&isInvertible);
    const QRectF bounds = toDevice.mapRect(target);
    const double perColumn = std::hypot(toTarget.m11(), toTarget.m12()) + std::hypot(toTarget.m21(), toTarget.m22());
    const double perPixel = perColumn * std::max(source.width() / target.width(), source.height() / target.height());
    m_canDraw = isInvertible && m_image.width() <= kMostSidePx && m_image.height() <= kMostSidePx
        && perPixel < kMostSourcePxPerPixel && std::isfinite(bounds.x() + bounds.y() + bounds.width() + bounds.height());
    if (!m_canDraw)
        return;
    // In floating point first: what is much enlarged has no whole numbers.
    m_area = bounds.intersected(QRectF(area)).toAlignedRect().intersected(area);
    const QPointF centre = bounds.center();
    m_anchor = QPoint(int(std::clamp(centre.x(), double(device.left()), double(device.right()))),
                      int(std::clamp(centre.y(), double(device.top()), double(device.bottom()))));
    const QRect part = source.toAlignedRect().intersected(m_image.rect());
    if (part.isEmpty()) {
        m_area = {};
        return;
    }
    m_edges = BoxEdges(toTarget, target);
    const QPoint corner = setSource(part);
    m_between = Between::Convex;
    m_isSolid = m_source.isOpaque && opacity == 255u;
    setCoordinates(toTarget, target, source.translated(-corner));
    if (qint64(part.width()) * part.height() >= kLeastFetchedPx)
        m_ahead = std::ptrdiff_t((m_y.perY * kRowsAhead) >> kPlaceBits) * m_source.stride
            + std::ptrdiff_t((m_x.perY * kRowsAhead) >> kPlaceBits);
}

QPoint SampledPixels::setSource(QRect part)
{
    QPoint corner;
    // The sampler mixes two pixels in each direction.
    if (part.width() < 2 || part.height() < 2) {
        m_image = m_image.copy(part).scaled(part.size().expandedTo({2, 2}));
        corner = part.topLeft();
        part = m_image.rect();
    }
    m_source = {reinterpret_cast<const QRgb*>(m_image.constBits()),
                int(m_image.bytesPerLine()) / int(sizeof(QRgb)),
                m_image.format() == QImage::Format_RGB32,
                part.left(),
                part.right(),
                part.top(),
                part.bottom()};
    return corner;
}

void SampledPixels::setCoordinates(const QTransform& t, const QRectF& target, const QRectF& source)
{
    constexpr double kOne = 1 << kPlaceBits;
    const auto coordinate = [](double atAnchor, double perX, double perY) {
        return Coordinate{std::llround((atAnchor - 0.5) * kOne), std::llround(perX * kOne), std::llround(perY * kOne)};
    };
    const QPointF inTarget = t.map(QPointF(m_anchor) + QPointF(0.5, 0.5)) - target.topLeft();
    const double scaleX = source.width() / target.width();
    const double scaleY = source.height() / target.height();
    m_x = coordinate(source.x() + inTarget.x() * scaleX, t.m11() * scaleX, t.m21() * scaleX);
    m_y = coordinate(source.y() + inTarget.y() * scaleY, t.m12() * scaleY, t.m22() * scaleY);
}

void SampledPixels::draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const
{
    drawRun(row, y, {begin, end, span.fullBegin, span.fullEnd}, m_edges.row(y));
}

void SampledPixels::drawWhole(QRgb* row, int y, int begin, int end) const
{
    EdgeRow farAway;
    farAway.perX.fill(0.f);
    farAway.atColumn0.fill(1.f);
    drawRun(row, y, {begin, end, begin, end}, farAway);
}

void SampledPixels::drawRun(QRgb* row, int y, const PixelSpan& run, const EdgeRow& edges) const
{
    const QPoint place = QPoint(run.begin, y) - m_anchor;
    drawSamples(row, run, m_source,
                {int(m_x.at(place.x(), place.y())), int(m_y.at(place.x(), place.y())), int(m_x.perX), int(m_y.perX), m_ahead},
                edges, m_opacity);
}
}
