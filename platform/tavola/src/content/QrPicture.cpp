#include "content/QrPicture.hpp"

#include <QPainter>

#include <memory>
#include <qrencode.h>

namespace Tavola
{
namespace
{
constexpr int kQuietModules = 4;
/// So that the edges stay sharp enough to be read when the picture is drawn in some other size.
constexpr int kPixelsPerModule = 8;
}

QImage qrPicture(const QByteArray& text)
{
    if (text.isEmpty())
        return {};
    const std::unique_ptr<QRcode, void (*)(QRcode*)> code(
        QRcode_encodeData(text.size(), reinterpret_cast<const unsigned char*>(text.constData()), 0, QR_ECLEVEL_M), &QRcode_free);
    if (!code)
        return {};
    const int side = (code->width + 2 * kQuietModules) * kPixelsPerModule;
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int row = 0; row < code->width; ++row)
        for (int column = 0; column < code->width; ++column)
            if (code->data[row * code->width + column] & 1) // the lowest bit: a dark module
                painter.fillRect((column + kQuietModules) * kPixelsPerModule, (row + kQuietModules) * kPixelsPerModule,
                                 kPixelsPerModule, kPixelsPerModule, Qt::black);
    return image;
}
}
