#pragma once

#include "PainterState.hpp"

#include <QImage>
#include <QPainter>

namespace Lantern
{
/// Draws pictures that are scaled or turned. The painter's sampler starts where a line enters the clip, and rounds from
/// there, so that a part of a picture differs from the same part of the whole. Here each block of a picture is sampled
/// whole, into a copy, and the copy is drawn under the clip: a pixel is the same whatever else is drawn. Blocks begin at the
/// corner of the picture's bounds; a small picture is one block. The copies are kept, nothing is allocated for a draw.
class BlockSampler
{
public:
    /// Contexts live for one frame, the copies from frame to frame.
    [[nodiscard]] static BlockSampler& instance();

    /// `source`: pixels of the image. Main thread only, on a raster painter.
    void draw(PainterContext::Private& context, const QImage& image, const QRectF& target, const QRectF& source);

private:
    struct Copy
    {
        explicit Copy(QSize size);
        QImage image;
        QPainter painter;
    };
    static void drawBlock(PainterContext::Private& context, Copy& copy, const QRect& block, const QImage& image,
                          const QRectF& target, const QRectF& source);

    std::unique_ptr<Copy> m_whole; ///< of small pictures
    std::unique_ptr<Copy> m_block; ///< of a block of large ones
};
}
