#pragma once

#include <QImage>
#include <QString>

namespace Trellis
{
/// How large a picture is wanted. Sizes come in steps, four from a power of two to the next, so that widgets of nearly one size
/// share their picture, and a picture has hardly more pixels than show.
struct ImageSize
{
    enum class Side {
        Longest, ///< the picture will stand inside a square of `edgePx`
        Shortest ///< it will fill one
    };
    Side side = Side::Longest;
    int edgePx = 0; ///< 0: as large as the picture is, within kLargestUnknownPx

    /// The step (at least 64) that is not below the longer side of a box.
    [[nodiscard]] static ImageSize forBox(float widthPx, float heightPx, Side side);
    /// The power of two that is not below, for a picture that is being enlarged: not each step is read then.
    [[nodiscard]] ImageSize withRoomToGrow() const;
    friend bool operator==(const ImageSize& a, const ImageSize& b) { return a.side == b.side && a.edgePx == b.edgePx; }
};

/// A picture as it was read; null with a reason when it could not be.
struct ReadImage
{
    QImage image;   ///< RGB32, or ARGB32 premultiplied when it has alpha
    QSize fullSize; ///< the file's, upright
    QString error;
};

/// Larger ones are refused before any pixel is read: they take too long, even where they are decoded scaled down.
constexpr qint64 kMostPixels = 200'000'000;
/// The memory that decoding one picture may take. Each of the reading threads may need as much at once.
constexpr qint64 kMostDecodingBytes = 256ll * 1024 * 1024;
constexpr int kLargestUnknownPx = 2048;

/// Reads a picture, turned as its file says, scaled down to the wanted size and never up. One that would take more than
/// kMostDecodingBytes is scaled down further where its format is decoded scaled, and refused by its header otherwise, as is one
/// whose header announces no size. Any thread; blocks. The one place where files are decoded.
[[nodiscard]] ReadImage readImage(const QString& path, const ImageSize& wanted);
}
