#pragma once

#include "BoxEdges.hpp"

#include <QRgb>

#include <cstddef>

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
    /// Where it is not 0, what lies so many pixels further in memory is brought into the cache: a later row needs it.
    std::ptrdiff_t ahead = 0;
};

/// Draws bilinear samples over the columns of `span` in a row; places outside of the part give the pixel at its edge. `place`: of
/// the column `span.begin`. Pixels are drawn by their share of `edges`, which is 255
/// where the span is full; the full part may reach beyond the columns. `opacity` 0..255. `row`: the
/// pixel in column 0. Any thread.
void drawSamples(QRgb* row, const PixelSpan& span, const SourcePixels& source, const SourcePlace& place, const EdgeRow& edges,
                 unsigned opacity);
/// The same values without the processor's wide registers.
void drawSamplesPlainly(QRgb* row, const PixelSpan& span, const SourcePixels& source, const SourcePlace& place,
                        const EdgeRow& edges, unsigned opacity);
}
