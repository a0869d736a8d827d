#include "QrCode.hpp"

#include <QBuffer>
#include <QImage>

#include <memory>
#include <qrencode.h>

namespace MediaServer
{

namespace
{
constexpr int kPixelsPerModule = 8;
constexpr int kQuietModules = 4;
static_assert(kPixelsPerModule == 8, "a module is written as whole bytes of one-bit pixels");
} // namespace

QByteArray qrCodePng(const QByteArray& text)
{
    const std::unique_ptr<QRcode, void (*)(QRcode*)> code(
        QRcode_encodeData(text.size(), reinterpret_cast<const unsigned char*>(text.constData()), 0, QR_ECLEVEL_M), &QRcode_free);
    if (!code)
        return {};

    const int modules = code->width + 2 * kQuietModules;
    QImage image(modules * kPixelsPerModule, modules * kPixelsPerModule, QImage::Format_Mono);
    image.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    image.fill(0);
    for (int row = 0; row < code->width; ++row) {
        const int top = (row + kQuietModules) * kPixelsPerModule;
        for (int column = 0; column < code->width; ++column) {
            // The lowest bit of each byte is set for a dark module.
            if (!(code->data[row * code->width + column] & 1))
                continue;
            // A module is eight pixels wide, one byte of a line with one bit per pixel.
            for (int y = 0; y < kPixelsPerModule; ++y)
                image.scanLine(top + y)[column + kQuietModules] = 0xff;
        }
    }

    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

} // namespace MediaServer
