#include "PixelRows.hpp"

#include <doctest/doctest.h>

#include <QImage>
#include <QRegion>

#include <random>

using Lantern::PixelRows;

namespace
{
bool isSame(const Lantern::PixelSpan& a, const Lantern::PixelSpan& b)
{
    return a.begin == b.begin && a.end == b.end && a.fullBegin == b.fullBegin && a.fullEnd == b.fullEnd;
}

QImage empty(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}
}

TEST_CASE("pixel rows: a row is known by its first and last pixel and its longest opaque run")
{
    QImage image = empty(40, 3);
    for (int x = 5; x < 35; ++x)
        image.setPixel(x, 1, (x >= 7 && x < 9) || (x >= 12 && x < 30) ? qRgb(1, 2, 3) : qRgba(10, 10, 10, 100));
    image.setPixel(39, 2, qRgba(0, 0, 1, 1));
    PixelRows rows;
    rows.update(image, image.rect());
    CHECK(rows.row(0).begin >= rows.row(0).end);
    CHECK(rows.row(0).fullBegin >= rows.row(0).fullEnd);
    CHECK(isSame(rows.row(1), {5, 35, 12, 30}));
    CHECK(rows.row(2).begin == 39);
    CHECK(rows.row(2).end == 40);
    CHECK(rows.row(2).fullBegin >= rows.row(2).fullEnd);
}

TEST_CASE("pixel rows: after random changes the rows are those of the picture read anew")
{
    std::mt19937 random(8);
    QImage image = empty(50, 20);
    PixelRows rows;
    rows.update(image, image.rect());
    for (int i = 0; i < 600; ++i) {
        const QRect area =
            QRect(int(random() % 50), int(random() % 20), 1 + int(random() % 30), 1 + int(random() % 8)) & image.rect();
        const QRgb pixel = random() % 3 ? qRgb(9, 9, 9) : random() % 2 ? qRgba(0, 0, 0, 0) : qRgba(3, 3, 3, 90);
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                image.setPixel(x, y, pixel);
        rows.update(image, area);
        PixelRows fresh;
        fresh.update(image, image.rect());
        for (int y = 0; y < image.height(); ++y) {
            const Lantern::PixelSpan &known = rows.row(y), &right = fresh.row(y);
            REQUIRE(known.begin <= right.begin);
            REQUIRE(known.end >= right.end);
            // What counts as opaque is so.
            for (int x = known.fullBegin; x < known.fullEnd; ++x)
                REQUIRE(qAlpha(image.pixel(x, y)) == 255);
        }
        for (int y = area.top(); y <= area.bottom(); ++y)
            if (qAlpha(pixel) < 255)
                REQUIRE(isSame(rows.row(y), fresh.row(y)));
    }
}
