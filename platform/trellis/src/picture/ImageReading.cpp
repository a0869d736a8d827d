#include "picture/ImageReading.hpp"

#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cmath>

namespace Trellis
{
namespace
{
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
}

ImageSize ImageSize::forBox(float widthPx, float heightPx, Side side)
{
    const float longest = std::max(widthPx, heightPx);
    if (!(longest > 0.f))
        return {side, 0};
    int edge = 64;
    while (edge < longest && edge < (1 << 15))
        edge *= 2;
    return {side, edge};
}

ReadImage readImage(const QString& path, const ImageSize& wanted)
{
    ReadImage result;
    const QFileInfo info(path);
    if (!info.isFile()) {
        result.error = info.exists() ? QStringLiteral("not a file") : QStringLiteral("no such file");
        return result;
    }
    QImageReader reader(path);
    reader.setAutoTransform(true);
    // A name that lies about its format does no harm.
    reader.setDecideFormatFromContent(true);
    QSize stored = reader.size();
    if (stored.isValid()) {
        if (qint64(stored.width()) * stored.height() > kMostPixels) {
            result.error = QStringLiteral("%1 x %2 pixels are more than %3 megapixels; make it smaller")
                               .arg(stored.width())
                               .arg(stored.height())
                               .arg(kMostPixels / 1'000'000);
            return result;
        }
        const bool isTurned = reader.transformation() & QImageIOHandler::TransformationRotate90;
        result.fullSize = isTurned ? stored.transposed() : stored;
        const QSize scaled = scaledSize(result.fullSize, wanted);
        if (scaled != result.fullSize)
            reader.setScaledSize(isTurned ? scaled.transposed() : scaled);
    }
    QImage image = reader.read();
    if (image.isNull()) {
        result.error = reader.errorString();
        return result;
    }
    if (!stored.isValid()) {
        // A format whose size is not known before it is decoded.
        result.fullSize = image.size();
        const QSize scaled = scaledSize(result.fullSize, wanted);
        if (scaled != image.size())
            image = image.scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    result.image =
        std::move(image).convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    return result;
}
}
