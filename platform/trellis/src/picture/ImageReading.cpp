#include "picture/ImageReading.hpp"

#include <Trellis/PictureHeader.hpp>

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cmath>

namespace Trellis
{
namespace
{
/// Of what is asked for; both are powers of two.
constexpr int kLeastEdgePx = 64, kMostEdgePx = 1 << 15;

/// The size to decode, of an upright picture.
QSize scaledSize(const QSize& full, const ImageSize& wanted)
{
    const int longest = std::max(full.width(), full.height());
    const int shortest = std::max(1, std::min(full.width(), full.height()));
    double scale = 1.0;
    if (wanted.edgePx <= 0)
        scale = double(kLargestUnknownPx) / longest;
    else
        scale = double(wanted.edgePx) / (wanted.side == ImageSize::Side::Longest ? longest : shortest);
    if (scale >= 1.0)
        return full;
    return {std::max(1, int(std::lround(full.width() * scale))), std::max(1, int(std::lround(full.height() * scale)))};
}

/// Why a picture is not decoded at all; empty when it may be.
QString refusal(const PictureHeader& header)
{
    if (header.format.isEmpty())
        return QStringLiteral("no picture of a kind that can be read; save it as PNG or JPEG");
    if (!header.excess.isEmpty())
        return header.excess;
    if (header.size.isEmpty())
        return QStringLiteral("damaged, or of a kind (%1) that does not announce its size; save it as PNG or JPEG")
            .arg(QString::fromLatin1(header.format));
    if (qint64(header.size.width()) * header.size.height() > kMostPixels)
        return QStringLiteral("%1 x %2 pixels are more than %3 megapixels; make it smaller")
            .arg(header.size.width())
            .arg(header.size.height())
            .arg(kMostPixels / 1'000'000);
    return {};
}

/// Makes `scaled` so small that decoding stays within kMostDecodingBytes. Returns why no size does.
QString fit(const PictureHeader& header, QSize& scaled)
{
    constexpr int kSmallestPx = 16;
    while (header.isDecodedScaled && header.bytesToDecode(scaled) > kMostDecodingBytes
           && std::min(scaled.width(), scaled.height()) > kSmallestPx)
        scaled = scaled * 7 / 8;
    const qint64 needed = header.bytesToDecode(scaled);
    if (needed <= kMostDecodingBytes)
        return {};
    return QStringLiteral("%1 x %2 pixels need %3 MB of memory to decode, and the limit is %4 MB; %5")
        .arg(header.size.width())
        .arg(header.size.height())
        .arg(needed >> 20)
        .arg(kMostDecodingBytes >> 20)
        .arg(header.isDecodedScaled ? QLatin1String("make it smaller, or save it as a JPEG that is not progressive")
                                    : QLatin1String("make it smaller, or save it as JPEG, which is decoded scaled down"));
}
}

ImageSize ImageSize::forBox(float widthPx, float heightPx, Side side)
{
    const float longest = std::max(widthPx, heightPx);
    if (!(longest > 0.f))
        return {side, 0};
    int power = kLeastEdgePx;
    while (power * 2 < longest && power < kMostEdgePx / 2)
        power *= 2;
    const int step = power / 4;
    int edge = power;
    while (edge < longest && edge < kMostEdgePx)
        edge += step;
    return {side, edge};
}

ImageSize ImageSize::withRoomToGrow() const
{
    int power = edgePx > 0 ? kLeastEdgePx : 0;
    while (power < edgePx)
        power *= 2;
    return {side, power};
}

ReadImage readImage(const QString& path, const ImageSize& wanted)
{
    ReadImage result;
    const QFileInfo info(path);
    if (!info.isFile()) {
        result.error = info.exists() ? QStringLiteral("not a file") : QStringLiteral("no such file");
        return result;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = file.errorString();
        return result;
    }
    const PictureHeader header = PictureHeader::of(file);
    if (!(result.error = refusal(header)).isEmpty())
        return result;
    file.seek(0);
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    // A name that lies about its format does no harm.
    reader.setDecideFormatFromContent(true);
    const bool isTurned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    result.fullSize = isTurned ? header.size.transposed() : header.size;
    QSize scaled = scaledSize(result.fullSize, wanted);
    if (isTurned)
        scaled.transpose();
    if (!(result.error = fit(header, scaled)).isEmpty())
        return result;
    if (scaled != header.size)
        reader.setScaledSize(scaled);
    QImage image = reader.read();
    if (image.isNull()) {
        result.error = reader.errorString();
        return result;
    }
    result.image =
        std::move(image).convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    return result;
}
}
