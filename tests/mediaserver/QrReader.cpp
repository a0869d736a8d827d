#include "QrReader.hpp"

#include <QImage>

#include <zbar.h>

std::string readQrCode(const QByteArray& png)
{
    const QImage image = QImage::fromData(png, "PNG");
    QByteArray grey;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            grey.append(static_cast<char>(qGray(image.pixel(x, y))));
    }

    zbar::ImageScanner scanner;
    scanner.set_config(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
    scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
    zbar::Image scanned(static_cast<unsigned>(image.width()), static_cast<unsigned>(image.height()), "Y800", grey.constData(),
                        static_cast<unsigned long>(grey.size()));
    if (scanner.scan(scanned) != 1)
        return {};
    return scanned.symbol_begin()->get_data();
}
