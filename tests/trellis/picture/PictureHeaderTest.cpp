#include "MadePictures.hpp"

#include <Trellis/PictureHeader.hpp>

#include <QBuffer>
#include <QImage>

#include <doctest/doctest.h>

using Trellis::PictureHeader;

namespace
{
PictureHeader headerOf(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    REQUIRE(buffer.open(QIODevice::ReadOnly));
    return PictureHeader::of(buffer);
}

QByteArray saved(QImage::Format pixels, const char* format)
{
    QImage image(64, 48, pixels);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    REQUIRE(image.save(&buffer, format));
    return bytes;
}
}

TEST_CASE("picture header: what decoding needs follows from format and pixels, not from the size of the file")
{
    struct Row
    {
        const char* what;
        QByteArray bytes;
        qint64 whole;  // bytes to decode 64 x 48 pixels
        qint64 scaled; // and for 8 x 6
    };
    constexpr qint64 kPixels = 64 * 48;
    const Row rows[] = {
        {"a PNG that is shown as it is", saved(QImage::Format_RGB32, "PNG"), 4 * kPixels, 4 * kPixels + 4 * 48},
        {"a PNG with alpha is converted", saved(QImage::Format_ARGB32, "PNG"), 8 * kPixels, 8 * kPixels + 4 * 48},
        {"a PNG of grey", saved(QImage::Format_Grayscale8, "PNG"), 5 * kPixels, 5 * kPixels + 4 * 48},
        {"a PNG of 16 bits", saved(QImage::Format_RGBA64, "PNG"), 12 * kPixels, 12 * kPixels + 4 * 48},
        {"a BMP", saved(QImage::Format_RGB32, "BMP"), 4 * kPixels, 4 * kPixels + 4 * 48},
        {"a JPEG", saved(QImage::Format_RGB32, "JPEG"), 8 * kPixels, 4 * 48 + 4 * 48},
    };
    for (const Row& row : rows) {
        CAPTURE(row.what);
        const PictureHeader header = headerOf(row.bytes);
        CHECK(header.size == QSize(64, 48));
        CHECK(header.bytesToDecode(header.size) == row.whole);
        CHECK(header.bytesToDecode({8, 6}) == row.scaled);
    }
}

TEST_CASE("picture header: a JPEG is decoded in eighths, and one of several scans is held as a whole")
{
    const PictureHeader rows = headerOf(TestSupport::greyJpeg({800, 800}));
    CHECK(rows.isDecodedScaled);
    CHECK(rows.bytesToDecode({100, 100}) == 4 * (100 * 100 + 100 * 100));
    CHECK(rows.bytesToDecode({101, 101}) == 4 * (200 * 200 + 101 * 101));
    const PictureHeader progressive = headerOf(TestSupport::greyJpeg({800, 800}, '\xc2'));
    CHECK(progressive.bytesToDecode({100, 100}) == 2 * 800 * 800 + 4 * (100 * 100 + 100 * 100));

    // Colour at half the resolution takes half as much again; a file whose first scan has one of its components has several
    // scans.
    QByteArray colour = saved(QImage::Format_RGB32, "JPEG");
    const int frame = colour.indexOf("\xff\xc0");
    REQUIRE(frame > 0);
    const double brightness = (quint8(colour[frame + 11]) >> 4) * (quint8(colour[frame + 11]) & 15);
    CHECK(headerOf(colour).bytesPerPixel == 0.0);
    colour[frame + 1] = '\xc2';
    CHECK(headerOf(colour).bytesPerPixel == 2.0 * (brightness + 2.0) / brightness);
    colour[frame + 1] = '\xc0';
    colour[colour.indexOf("\xff\xda") + 4] = '\1';
    CHECK(headerOf(colour).bytesPerPixel == 2.0 * (brightness + 2.0) / brightness);
}

TEST_CASE("picture header: an icon is as large as the picture inside it")
{
    const PictureHeader png = headerOf(TestSupport::iconWith(TestSupport::blackPng({12000, 12000})));
    CHECK(png.size == QSize(12000, 12000));
    CHECK_FALSE(png.isDecodedScaled);
    QByteArray bitmap(40, 0);
    bitmap.replace(0, 12, QByteArray("\x28\0\0\0\0\x20\0\0\0\x40\0\0", 12));
    CHECK(headerOf(TestSupport::iconWith(bitmap)).size == QSize(8192, 16384));
}

TEST_CASE("picture header: what is no picture, or is damaged, announces nothing")
{
    CHECK(headerOf("").format.isEmpty());
    CHECK(headerOf("no picture at all").format.isEmpty());
    const PictureHeader torn = headerOf(TestSupport::pngHeader({100, 100}).left(20));
    CHECK(torn.format == "png");
    CHECK(torn.size.isEmpty());
    CHECK(headerOf(TestSupport::iconWith("")).size.isEmpty());
    for (const int length : {3, 12, 25, 160}) {
        CAPTURE(length);
        const PictureHeader cut = headerOf(TestSupport::greyJpeg({800, 800}).left(length));
        CHECK((cut.size.isEmpty() || cut.bytesPerPixel >= 0.0));
    }
}
