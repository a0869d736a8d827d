#pragma once

#include "PixelSource.hpp"

#include <QImage>

#include <memory>

namespace Lantern
{
class PixelRows;

/// Replaces all pixels of an area by one.
class FilledPixels final : public PixelSource
{
public:
    FilledPixels(const QRect& area, QRgb pixel);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    QRgb m_pixel;
};

/// A picture drawn pixel for pixel.
class CopiedPixels final : public PixelSource
{
public:
    /// `image`: premultiplied, with its top left corner at `corner`; its pixels are shared until the source is destroyed. `rows`:
    /// null when it is not known where the image is opaque. `opacity` 0..255.
    CopiedPixels(const QRect& area, const QImage& image, std::shared_ptr<const PixelRows> rows, QPoint corner, unsigned opacity);
    [[nodiscard]] PixelSpan span(int y) const override;
    void draw(QRgb* row, int y, int begin, int end, const PixelSpan& span) const override;

private:
    QImage m_image;
    std::shared_ptr<const PixelRows> m_rows;
    QPoint m_corner;
    unsigned m_opacity;
};
}
