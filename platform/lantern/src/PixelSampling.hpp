#pragma once

#include <QRgb>

namespace Lantern
{
/// Places in a picture have 16 bits behind the point; 0 is the centre of the first pixel.
inline constexpr int kPlaceBits = 16;

/// A part of a picture with 32 bits a pixel, at least two pixels wide and high. Not owned.
struct SourcePixels
{
    const QRgb* bits = nullptr; ///< of the whole picture
    int stride = 0;             ///< pixels from line to line
    bool isOpaque = false;
    int left = 0, right = 0, top = 0, bottom = 0; ///< first and last pixel of the part
};

/// A place that moves from pixel to pixel.
struct SourcePlace
{
    int x, y;
    int stepX, stepY;
};

/// So many pixels are written at once.
inline constexpr int kSampledAtOnce = 8;

/// Bilinear samples of a row; places outside of the part give the pixel at its edge. Writes `count` pixels, and up to
/// kSampledAtOnce - 1 after them. Any thread.
void sampleRow(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place);
/// The same values without the processor's wide registers.
void sampleRowPlainly(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place);
}
