#pragma once

#include <QImage>

namespace Bench
{
/// Shares of pixels that clearly differ between two pictures of one scene, drawn by two programs. Edges are blended in another
/// order by the two, so that a few differ always.
struct PictureDifference
{
    double ofAll = 0.0;     ///< of all pixels
    double ofChanged = 0.0; ///< of those that have changed in either picture since before; 0 where nothing has
    long changed = 0;       ///< pixels

    /// Whether both show the same change: also where it is small, and only its pixels show that one side did not draw it.
    [[nodiscard]] bool isSameChange() const { return changed > 0 && ofAll < 0.005 && ofChanged < 0.08; }
};

/// Four pictures of one size, of 32 bits a pixel.
[[nodiscard]] PictureDifference compare(const QImage& ours, const QImage& oursBefore, const QImage& theirs,
                                        const QImage& theirsBefore);
}
