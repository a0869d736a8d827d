#include "CopiedPixels.hpp"

#include "Composition.hpp"
#include "PixelMath.hpp"
#include "PixelRows.hpp"

#include <doctest/doctest.h>

#include <QImage>

using namespace Lantern;

namespace
{
QImage disc()
{
    QImage image(60, 60, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x) {
            const int distance = (x - 30) * (x - 30) + (y - 30) * (y - 30);
            image.setPixel(x, y, distance < 500 ? qRgb(x, y, 7) : distance < 700 ? qRgba(30, 20, 10, 99) : 0u);
        }
    return image;
}

QImage drawnCopy(const QImage& image, const std::shared_ptr<const PixelRows>& rows, unsigned opacity, const QRect& area)
{
    QImage result(90, 80, QImage::Format_RGB32);
    result.fill(0xff405060u);
    Composition composition;
    composition.add(CopiedPixels(area, image, rows, {11, 5}, opacity));
    composition.drawInto(result, {result.rect()});
    return result;
}
}

TEST_CASE("copied pixels: a picture lies pixel for pixel at its corner, blended, with or without its rows known")
{
    const QImage image = disc();
    const auto rows = std::make_shared<PixelRows>();
    rows->update(image, image.rect());
    for (unsigned opacity : {255u, 254u, 100u, 0u}) {
        const QRect area(15, 0, 50, 60);
        QImage expected(90, 80, QImage::Format_RGB32);
        expected.fill(0xff405060u);
        for (int y = 5; y < 60; ++y)
            for (int x = 15; x < 65; ++x)
                expected.setPixel(x, y, blendedPixel(scaledPixel(image.pixel(x - 11, y - 5), opacity), 0xff405060u));
        CHECK(drawnCopy(image, nullptr, opacity, area) == expected);
        CHECK(drawnCopy(image, rows, opacity, area) == expected);
    }
}

TEST_CASE("copied pixels: only an opaque picture whose rows are known hides what is below")
{
    const QImage image = disc();
    const auto rows = std::make_shared<PixelRows>();
    rows->update(image, image.rect());
    CHECK(CopiedPixels({0, 0, 90, 80}, image, rows, {}, 255).isSolid());
    CHECK_FALSE(CopiedPixels({0, 0, 90, 80}, image, rows, {}, 254).isSolid());
    CHECK_FALSE(CopiedPixels({0, 0, 90, 80}, image, nullptr, {}, 255).isSolid());
    CHECK(CopiedPixels({0, 0, 90, 80}, image, rows, {40, 30}, 255).area() == QRect(40, 30, 50, 50));
}

TEST_CASE("copied pixels: a part is hidden when each of its rows is covered, those between the first and the last as well")
{
    QImage image(60, 60, QImage::Format_ARGB32_Premultiplied);
    image.fill(0xff102030u);
    image.setPixel(20, 30, 0x80102030u);
    const auto rows = std::make_shared<PixelRows>();
    rows->update(image, image.rect());
    const CopiedPixels pixels({0, 0, 90, 80}, image, rows, {10, 5}, 255);
    CHECK(pixels.hides({10, 5, 60, 30}));
    CHECK(pixels.hides({10, 36, 60, 29}));
    CHECK(pixels.hides({31, 5, 39, 60})); // beside the pixel that is not opaque
    CHECK_FALSE(pixels.hides({10, 5, 60, 31}));
    CHECK_FALSE(pixels.hides({10, 35, 60, 2}));
    CHECK_FALSE(pixels.hides({20, 30, 30, 10}));
    CHECK_FALSE(pixels.hides({10, 5, 61, 10}));
    CHECK_FALSE(CopiedPixels({0, 0, 90, 80}, image, rows, {10, 5}, 254).hides({10, 5, 60, 30}));
    CHECK_FALSE(CopiedPixels({0, 0, 90, 80}, image, nullptr, {10, 5}, 255).hides({10, 5, 60, 30}));
    // The longest run counts: left of the pixel there are fewer.
    CHECK_FALSE(pixels.hides({10, 35, 10, 1}));
}

TEST_CASE("filled pixels: replace what is there, also by nothing")
{
    QImage image(20, 10, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::red);
    Composition composition;
    composition.add(FilledPixels({5, 2, 10, 5}, 0u));
    composition.drawInto(image, {image.rect()});
    CHECK(image.pixel(5, 2) == 0u);
    CHECK(image.pixel(14, 6) == 0u);
    CHECK(image.pixel(4, 2) == 0xffff0000u);
    CHECK(image.pixel(15, 6) == 0xffff0000u);
    CHECK(image.pixel(14, 7) == 0xffff0000u);
}
