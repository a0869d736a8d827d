#include <Trellis/PictureHeader.hpp>

#include <Bedrock/PictureCost.hpp>

#include <QIODevice>
#include <QImage>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Trellis
{
namespace
{
constexpr double kBytesShown = 4.0;   // of RGB32 and ARGB32 premultiplied
constexpr double kBytesUnknown = 8.0; // the most a format has
constexpr double kBytesCoefficient = 2.0;
constexpr double kBytesDamaged = kBytesCoefficient * 3.0; // the most that three components take

quint16 big16(const QByteArray& bytes, int at)
{
    return qFromBigEndian<quint16>(bytes.constData() + at);
}

/// False for a place beyond the end.
bool goTo(QIODevice& device, qint64 place)
{
    return place <= device.size() && device.seek(place);
}

/// Bytes of each pixel of the full size that a JPEG decoder holds, whatever size it decodes to: 0 for a file with one scan, which
/// is decoded row by row. Several scans (a progressive file) are put together first, in coefficients of all components.
double heldByJpeg(QIODevice& device)
{
    if (!goTo(device, 2))
        return kBytesDamaged;
    double components = 0.0; // samples for each pixel
    int count = 0;
    bool isProgressive = false;
    for (;;) {
        QByteArray head = device.read(4);
        // Segments may be led by any number of fill bytes.
        while (head.size() == 4 && head[0] == '\xff' && head[1] == '\xff')
            head = head.mid(1) + device.read(1);
        if (head.size() < 4 || head[0] != '\xff')
            return kBytesDamaged;
        const int kind = quint8(head[1]);
        const int length = big16(head, 2) - 2;
        if (kind == 0xda) { // start of scan
            const QByteArray inScan = device.read(1);
            return isProgressive || (!inScan.isEmpty() && quint8(inScan[0]) < count) ? kBytesCoefficient * components : 0.0;
        }
        const bool isFrame = kind >= 0xc0 && kind <= 0xcf && kind != 0xc4 && kind != 0xc8 && kind != 0xcc;
        if (!isFrame) {
            if (length < 0 || !goTo(device, device.pos() + length))
                return kBytesDamaged;
            continue;
        }
        const QByteArray frame = device.read(length);
        count = frame.size() > 5 ? quint8(frame[5]) : 0;
        if (count == 0 || frame.size() < 6 + 3 * count)
            return kBytesDamaged;
        isProgressive = (kind & 3) == 2;
        int widest = 1;
        int highest = 1;
        double samples = 0.0;
        for (int i = 0; i < count; ++i) {
            const int sampling = quint8(frame[7 + 3 * i]);
            widest = std::max(widest, sampling >> 4);
            highest = std::max(highest, sampling & 15);
            samples += (sampling >> 4) * (sampling & 15);
        }
        components = samples / (widest * highest);
    }
}

/// The size of the first picture in an icon file. Its directory holds sizes up to 256 only, and a picture inside may be larger.
QSize sizeInIcon(QIODevice& device, const QSize& announced)
{
    if (!goTo(device, 6))
        return {};
    const QByteArray entry = device.read(16);
    if (entry.size() < 16 || !goTo(device, qFromLittleEndian<quint32>(entry.constData() + 12)))
        return {};
    const QByteArray head = device.read(24);
    if (head.size() < 24)
        return {};
    const bool isPng = head.startsWith("\x89PNG");
    const auto* const at = head.constData();
    const double width = isPng ? qFromBigEndian<quint32>(at + 16) : std::abs(double(qFromLittleEndian<qint32>(at + 4)));
    const double height = isPng ? qFromBigEndian<quint32>(at + 20) : std::abs(double(qFromLittleEndian<qint32>(at + 8)));
    const auto bounded = [](double pixels) { return int(std::min(pixels, double(std::numeric_limits<int>::max()))); };
    return announced.expandedTo({bounded(width), bounded(height)});
}
}

PictureHeader PictureHeader::of(QIODevice& device)
{
    PictureHeader header;
    header.excess = Bedrock::excessivePictureCost(device);
    QImageReader reader(&device);
    reader.setDecideFormatFromContent(true);
    if (!reader.canRead())
        return header;
    header.format = reader.format();
    if (!header.excess.isEmpty()) // the decoder reads more than the header to learn the size
        return header;
    header.size = reader.size();
    const QImage::Format pixels = reader.imageFormat();
    if (header.format == "jpeg" || header.format == "jpg") {
        header.isDecodedScaled = true;
        header.bytesPerPixel = heldByJpeg(device);
        header.bytesPerDecodedPixel = kBytesShown;
        return header;
    }
    if (header.format == "svg" || header.format == "svgz") {
        header.isDecodedScaled = true;
        header.bytesPerDecodedPixel = kBytesShown;
        return header;
    }
    if (header.format == "ico" || header.format == "cur")
        header.size = sizeInIcon(device, header.size);
    const bool isShownAsIs = pixels == QImage::Format_RGB32 || pixels == QImage::Format_ARGB32_Premultiplied;
    header.bytesPerPixel = pixels == QImage::Format_Invalid ? kBytesUnknown : QImage::toPixelFormat(pixels).bitsPerPixel() / 8.0;
    // Other formats are converted as a whole.
    if (!isShownAsIs)
        header.bytesPerPixel += kBytesShown;
    header.bytesPerDecodedPixel = kBytesShown;
    return header;
}

qint64 PictureHeader::bytesToDecode(const QSize& scaled) const
{
    const double full = double(size.width()) * size.height();
    const double wanted = double(scaled.width()) * scaled.height();
    double decoded = 0.0;
    if (isDecodedScaled && format.startsWith("jp") && !scaled.isEmpty()) {
        // A JPEG is decoded to the next eighth of its size, and scaled from there.
        const double factor = std::min(double(size.width()) / scaled.width(), double(size.height()) / scaled.height());
        const double eighths = std::clamp(std::ceil(8.0 / factor), 1.0, 8.0) / 8.0;
        decoded = full * eighths * eighths;
    }
    if (scaled != size || isDecodedScaled)
        decoded += wanted;
    return qint64(std::min(full * bytesPerPixel + decoded * bytesPerDecodedPixel, 9e18));
}
}
