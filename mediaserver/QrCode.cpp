#include "QrCode.hpp"

#include <QBuffer>
#include <QImage>

#include <memory>
#include <qrencode.h>

namespace MediaServer {

namespace {
constexpr int kPixelsPerModule = 8;
constexpr int kQuietModules = 4;
} // namespace

QByteArray qrCodePng(const QByteArray& text)
{
    const std::unique_ptr<QRcode, void (*)(QRcode*)> code(
        QRcode_encodeData(text.size(), reinterpret_cast<const unsigned char*>(text.constData()), 0, QR_ECLEVEL_M),
        &QRcode_free);
    if (!code)
        return {};

    const int modules = code->width + 2 * kQuietModules;
    QImage image(modules * kPixelsPerModule, modules * kPixelsPerModule, QImage::Format_Grayscale8);
    image.fill(Qt::white);
    for (int y = 0; y < image.height(); ++y) {
        const int row = y / kPixelsPerModule - kQuietModules;
        if (row < 0 || row >= code->width)
            continue;
        uchar* line = image.scanLine(y);
        for (int x = 0; x < code->width * kPixelsPerModule; ++x) {
            // The lowest bit of each byte tells whether the module is dark.
            if (code->data[row * code->width + x / kPixelsPerModule] & 1)
                line[kQuietModules * kPixelsPerModule + x] = 0;
        }
    }

    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither).save(&buffer, "PNG");
    return png;
}

} // namespace MediaServer
