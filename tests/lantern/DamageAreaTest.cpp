#include "DamageArea.hpp"

#include <doctest/doctest.h>

using namespace Lantern;

TEST_CASE("damage area: in pixels it is rounded outwards, ends with the window, and no pixel is in it twice")
{
    const QSize window(125, 100);
    CHECK(devicePixels(QRegion(1, 2, 3, 4), 1.0, window) == QRegion(1, 2, 3, 4));
    CHECK(devicePixels(QRegion(1, 2, 3, 4), 2.0, window) == QRegion(2, 4, 6, 8));
    CHECK(devicePixels(QRegion(1, 1, 1, 1), 1.25, window) == QRegion(1, 1, 2, 2));
    CHECK(devicePixels(QRegion(90, 70, 50, 50), 1.25, window) == QRegion(QRect(QPoint(112, 87), QPoint(124, 99))));
    // Two areas that touch at a fraction of a pixel.
    const QRegion both = devicePixels(QRegion(0, 0, 5, 5) + QRegion(5, 5, 5, 5), 1.5, window);
    qint64 pixels = 0;
    for (const QRect& rect : both)
        pixels += rect.width() * rect.height();
    CHECK(pixels == 8 * 8 + 8 * 8 - 1);
    CHECK(devicePixels(QRegion(), 1.5, window).isEmpty());
}

TEST_CASE("damage area: one rectangle takes the place of several where little is wasted")
{
    const QRegion near = QRegion(0, 0, 10, 10) + QRegion(5, 5, 10, 10);
    CHECK(oneRectWhereCheap(near) == QRegion(0, 0, 15, 15));
    const QRegion far = QRegion(0, 0, 10, 10) + QRegion(100, 100, 10, 10);
    CHECK(oneRectWhereCheap(far) == far);
}
