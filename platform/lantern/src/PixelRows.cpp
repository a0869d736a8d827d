#include "PixelRows.hpp"

#include "PixelMath.hpp"

#include <QImage>
#include <QRegion>

namespace Lantern
{
namespace
{
PixelSpan spanOf(const QRgb* pixels, int width)
{
    PixelSpan span;
    span.end = width;
    while (span.begin < width && pixels[span.begin] == 0)
        ++span.begin;
    while (span.end > span.begin && pixels[span.end - 1] == 0)
        --span.end;
    // Around a turned picture thousands of pixels are not opaque: without a call for each of them.
    for (int x = span.begin; x < span.end;) {
        if (pixels[x] >> 24 != 255u) {
            ++x;
            continue;
        }
        const int end = opaqueUntil(pixels, x, span.end);
        if (end - x > span.fullEnd - span.fullBegin) {
            span.fullBegin = x;
            span.fullEnd = end;
        }
        x = end;
    }
    return span;
}
}

void PixelRows::update(const QImage& image, const QRegion& area)
{
    m_rows.resize(std::size_t(image.height()));
    for (const QRect& rect : area.intersected(image.rect()))
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            PixelSpan& span = m_rows[std::size_t(y)];
            const auto* const pixels = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            const int end = rect.right() + 1;
            // A change inside of what is opaque mostly leaves it so.
            const bool isSame =
                span.fullBegin <= rect.left() && end <= span.fullEnd && opaqueUntil(pixels, rect.left(), end) == end;
            if (!isSame)
                span = spanOf(pixels, image.width());
        }
}
}
