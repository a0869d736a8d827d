#include <Qr/QrPicture.hpp>

#include <memory>
#include <qrencode.h>

namespace Qr
{
namespace
{
constexpr int kQuietModules = 4;
/// So that the edges stay sharp enough to be read when the picture is drawn in another size. A module is one byte of each line.
constexpr int kPixelsPerModule = 8;
}

QImage picture(const QByteArray& text)
{
    if (text.isEmpty())
        return {};
    const std::unique_ptr<QRcode, void (*)(QRcode*)> code(
        QRcode_encodeData(text.size(), reinterpret_cast<const unsigned char*>(text.constData()), 0, QR_ECLEVEL_M), &QRcode_free);
    if (!code)
        return {};
    const int side = (code->width + 2 * kQuietModules) * kPixelsPerModule;
    QImage image(side, side, QImage::Format_Mono);
    image.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    image.fill(0);
    for (int row = 0; row < code->width; ++row)
        for (int column = 0; column < code->width; ++column) {
            if (!(code->data[row * code->width + column] & 1)) // the lowest bit: a dark module
                continue;
            const int top = (row + kQuietModules) * kPixelsPerModule;
            for (int y = 0; y < kPixelsPerModule; ++y)
                image.scanLine(top + y)[column + kQuietModules] = 0xff;
        }
    return image;
}
}
