#pragma once

#include <QRgb>

namespace Lantern
{
// Arithmetic on premultiplied pixels (0xAARRGGBB). Each function gives a pixel the same value whether it is computed alone or
// in a row, so that a part of a drawing equals the same part of the whole. Any thread.

/// All four components times `factor` / 255, rounded.
[[nodiscard]] inline QRgb scaledPixel(QRgb pixel, unsigned factor)
{
    unsigned even = (pixel & 0xff00ffu) * factor;
    even = (even + ((even >> 8) & 0xff00ffu) + 0x800080u) >> 8;
    unsigned odd = ((pixel >> 8) & 0xff00ffu) * factor;
    odd = odd + ((odd >> 8) & 0xff00ffu) + 0x800080u;
    return (even & 0xff00ffu) | (odd & 0xff00ff00u);
}

/// `source` laid over `ground`.
[[nodiscard]] inline QRgb blendedPixel(QRgb source, QRgb ground)
{
    return source + scaledPixel(ground, 255u - (source >> 24));
}

/// From `a` (fraction 0) to `b` (256).
[[nodiscard]] inline QRgb mixedPixel(QRgb a, QRgb b, unsigned fraction)
{
    const unsigned rest = 256u - fraction;
    const unsigned even = ((a & 0xff00ffu) * rest + (b & 0xff00ffu) * fraction) >> 8;
    const unsigned odd = ((a >> 8) & 0xff00ffu) * rest + ((b >> 8) & 0xff00ffu) * fraction;
    return (even & 0xff00ffu) | (odd & 0xff00ff00u);
}

/// Lays a row of pixels over another. The rows do not overlap.
void blendRow(QRgb* ground, const QRgb* source, int count);
/// As above, with `opacity` 0..255.
void blendRow(QRgb* ground, const QRgb* source, int count, unsigned opacity);

/// The index of the first pixel from `begin` on that is not opaque, or `end`.
[[nodiscard]] int opaqueUntil(const QRgb* row, int begin, int end);
}
