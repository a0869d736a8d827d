#include "LargeImage.hpp"

#include <doctest/doctest.h>

#include <cstdint>

using Lantern::makeLargeImage;

namespace
{
bool isZero(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (reinterpret_cast<const QRgb*>(image.constScanLine(y))[x] != 0)
                return false;
    return true;
}
}

TEST_CASE("large image: all of its bytes are 0, whatever its size")
{
    for (const QSize& size : {QSize(1, 1), QSize(100, 30), QSize(1024, 1024), QSize(1025, 1025), QSize(1920, 1080)})
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied}) {
            CAPTURE(size.width());
            const QImage image = makeLargeImage(size, format);
            CHECK(image.size() == size);
            CHECK(image.format() == format);
            CHECK(isZero(image));
        }
}

TEST_CASE("large image: one of some megabytes begins where a large page may")
{
    const QImage image = makeLargeImage({1920, 1080}, QImage::Format_RGB32);
    CHECK(reinterpret_cast<std::uintptr_t>(image.constBits()) % (std::uintptr_t(2) << 20) == 0);
}

TEST_CASE("large image: its memory stays as long as a copy does, and a copy that is changed has its own")
{
    QImage kept;
    {
        QImage image = makeLargeImage({1500, 1100}, QImage::Format_RGB32);
        image.setPixel(1499, 1099, 0xff102030u);
        kept = image;
        image.setPixel(0, 0, 0xffffffffu);
    }
    CHECK(kept.pixel(1499, 1099) == 0xff102030u);
    CHECK(kept.pixel(0, 0) == 0xff000000u);
    CHECK(kept.pixel(700, 500) == 0xff000000u);
}

TEST_CASE("large image: without a size there is none")
{
    CHECK(makeLargeImage({0, 5}, QImage::Format_RGB32).isNull());
    CHECK(makeLargeImage({5, 0}, QImage::Format_RGB32).isNull());
}

TEST_CASE("large image: bringing the memory of a picture changes no pixel, wherever its memory lies")
{
    for (const QSize& size : {QSize(), QSize(1, 1), QSize(37, 50), QSize(300, 310), QSize(1920, 1080)}) {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(0x80402010u);
        const QImage before = image.copy();
        Lantern::bringPages(image);
        CHECK(image == before);
    }
}
