#pragma once

#include <Bedrock/Export.hpp>

#include <QByteArray>
#include <QSize>
#include <QString>

class QIODevice;

namespace Trellis
{
/// What the header of a picture announces about the memory that decoding it takes. Read before any picture that this program did
/// not make is decoded: a file of a few kilobytes may announce a gigabyte of pixels. A plain value; any thread.
struct TAVOLA_EXPORT PictureHeader
{
    QByteArray format;            ///< of the contents, such as "png"; empty: no picture that can be read
    QString excess;               ///< why it is not to be decoded whatever its size, with the remedy; then nothing else is known
    QSize size;                   ///< as stored, not turned; empty: none is announced, or the header is damaged
    bool isDecodedScaled = false; ///< decoding to a smaller size needs the memory of about that size only (JPEG, SVG)
    double bytesPerPixel = 0.0;   ///< of the full size, needed whatever size is decoded
    double bytesPerDecodedPixel = 0.0;

    /// Reads from the beginning of an open device with random access, which it leaves anywhere. Decodes nothing.
    [[nodiscard]] static PictureHeader of(QIODevice& device);

    /// About the bytes that decoding to `scaled` (as stored, not turned) needs at once.
    [[nodiscard]] qint64 bytesToDecode(const QSize& scaled) const;
};
}
