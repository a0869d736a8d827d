#include "inspector/PngWriting.hpp"

#include <doctest/doctest.h>

#include <QImage>

using Host::pngOf;

namespace
{
/// Every pixel has another colour; with opacities from 0 to 255 where the format has them.
QImage colours(QSize size, QImage::Format format)
{
    QImage picture(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            picture.setPixel(x, y, qRgba(x * 7 & 255, y * 11 & 255, (x + y) * 5 & 255, (x * 3 + y) & 255));
    return picture.convertToFormat(format);
}

QImage readBack(const QByteArray& png)
{
    QImage picture;
    REQUIRE(picture.loadFromData(png, "PNG"));
    return picture;
}
}

TEST_CASE("PNG writing: a picture that is read back has the same pixels")
{
    for (const QSize size : {QSize(1, 1), QSize(3, 2), QSize(127, 85)})
        for (const QImage::Format format : {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32, QImage::Format_RGB32}) {
            CAPTURE(size.width());
            CAPTURE(int(format));
            const QImage picture = colours(size, format);
            const QImage back = readBack(pngOf(picture));
            CHECK(back.hasAlphaChannel() == picture.hasAlphaChannel());
            CHECK(back.convertToFormat(QImage::Format_ARGB32) == picture.convertToFormat(QImage::Format_ARGB32));
        }
}

TEST_CASE("PNG writing: a part of a picture is written with its own width")
{
    const QImage whole = colours({40, 30}, QImage::Format_ARGB32_Premultiplied);
    const QImage part(whole.constScanLine(5) + 4 * 7, 10, 8, whole.bytesPerLine(), whole.format());
    CHECK(readBack(pngOf(part)).convertToFormat(whole.format()) == whole.copy(7, 5, 10, 8));
}

TEST_CASE("PNG writing: an empty picture is no PNG")
{
    CHECK(pngOf(QImage()).isEmpty());
}
