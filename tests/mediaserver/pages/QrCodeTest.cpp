#include "pages/QrCode.hpp"

#include "QrReader.hpp"

#include <doctest/doctest.h>

#include <QImage>

using MediaServer::qrCodePng;

TEST_CASE("QR code: a scanner reads the text")
{
    for (const QByteArray& text : {QByteArray("https://museum.example/table/p/Zm9vYmFyYmF6cXV4cXV1eA"), QByteArray("x"),
                                   "https://museum.example/" + QByteArray(500, 'a')}) {
        CAPTURE(text.toStdString());
        CHECK(readQrCode(qrCodePng(text)) == text.toStdString());
    }
}

TEST_CASE("QR code: modules are 8 pixels and a quiet zone of 4 modules surrounds them")
{
    const QImage image = QImage::fromData(qrCodePng("https://museum.example/p/Zm9vYmFyYmF6cXV4cXV1eA"), "PNG");
    REQUIRE_FALSE(image.isNull());
    CHECK(image.width() == image.height());
    CHECK(image.width() % 8 == 0);
    CHECK((image.width() / 8 - 8 - 17) % 4 == 0);
    int darkInQuietZone = 0;
    int torn = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const bool quiet = x < 32 || y < 32 || x >= image.width() - 32 || y >= image.height() - 32;
            darkInQuietZone += quiet && qGray(image.pixel(x, y)) < 255;
            torn += image.pixel(x, y) != image.pixel(x / 8 * 8, y / 8 * 8);
        }
    }
    CHECK(darkInQuietZone == 0);
    CHECK(torn == 0);
    // The corner of the finder pattern is the first module after the quiet zone.
    CHECK(qGray(image.pixel(32, 32)) == 0);
}

TEST_CASE("QR code: a text that is too long gives none")
{
    CHECK(qrCodePng(QByteArray(3000, 'a')).isEmpty());
}
