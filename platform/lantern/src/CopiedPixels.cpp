#include "CopiedPixels.hpp"

#include "PixelMath.hpp"
#include "PixelRows.hpp"

#include <algorithm>
#include <cstring>

namespace Lantern
{
FilledPixels::FilledPixels(const QRect& area, QRgb pixel) : PixelSource(area), m_pixel(pixel)
{
    m_isSolid = true;
    m_between = Between::Convex;
}

PixelSpan FilledPixels::span(int) const
{
    const int end = m_area.right() + 1;
    return {m_area.left(), end, m_area.left(), end};
}

void FilledPixels::draw(QRgb* row, int, int begin, int end, const PixelSpan&) const
{
    std::fill(row + begin, row + end, m_pixel);
}

CopiedPixels::CopiedPixels(const QRect& area, const QImage& image, std::shared_ptr<const PixelRows> rows, QPoint corner,
                           unsigned opacity)
    : PixelSource(area.intersected(QRect(corner, image.size()))), m_image(image), m_rows(std::move(rows)), m_corner(corner),
      m_opacity(opacity)
{
    m_isSolid = m_rows && opacity == 255u;
    m_between = Between::Listed;
}

PixelSpan CopiedPixels::span(int y) const
{
    if (!m_rows)
        return {m_area.left(), m_area.right() + 1, 0, 0};
    const PixelSpan& inImage = m_rows->row(y - m_corner.y());
    const int x = m_corner.x();
    return {inImage.begin + x, inImage.end + x, inImage.fullBegin + x, inImage.fullEnd + x};
}

void CopiedPixels::draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const
{
    const auto* const line = reinterpret_cast<const QRgb*>(m_image.constScanLine(y - m_corner.y())) - m_corner.x();
    if (m_opacity < 255u) {
        blendRow(row + begin, line + begin, end - begin, m_opacity);
        return;
    }
    const int fullBegin = std::clamp(span.fullBegin, begin, end);
    const int fullEnd = std::clamp(span.fullEnd, fullBegin, end);
    blendRow(row + begin, line + begin, fullBegin - begin);
    std::memcpy(row + fullBegin, line + fullBegin, std::size_t(fullEnd - fullBegin) * sizeof(QRgb));
    blendRow(row + fullEnd, line + fullEnd, end - fullEnd);
}
}
