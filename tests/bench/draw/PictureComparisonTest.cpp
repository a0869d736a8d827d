#include "draw/PictureComparison.hpp"

#include <doctest/doctest.h>

#include <QPainter>

namespace
{
constexpr QSize kSize(200, 100);

/// A red tile of 10 × 10 pixels on black.
QImage tileAt(QPoint place, QColor color = Qt::red)
{
    QImage image(kSize, QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter(&image).fillRect(QRect(place, QSize(10, 10)), color);
    return image;
}
}

TEST_CASE("picture comparison: two sides that move the same tile show the same change, also with edges that differ a little")
{
    const QImage before = tileAt({20, 20}), after = tileAt({40, 20});
    const auto difference = Bench::compare(after, before, after, before);
    CHECK(difference.changed == 200);
    CHECK(difference.ofAll == 0.0);
    CHECK(difference.isSameChange());
    QImage other = after;
    other.setPixelColor(39, 20, QColor(60, 0, 0));
    other.setPixelColor(42, 22, QColor(230, 0, 0));
    CHECK(Bench::compare(after, before, other, before).ofAll == doctest::Approx(1.0 / 20000));
    CHECK(Bench::compare(after, before, other, before).isSameChange());
}

TEST_CASE("picture comparison: a side that leaves a small tile where it was is found, whichever it is")
{
    const QImage before = tileAt({20, 20}), after = tileAt({23, 22});
    CHECK_FALSE(Bench::compare(after, before, before, before).isSameChange());
    CHECK_FALSE(Bench::compare(before, before, after, before).isSameChange());
    CHECK_FALSE(Bench::compare(after, before, tileAt({24, 24}), before).isSameChange());
}

TEST_CASE("picture comparison: a work that changes nothing that shows is no work")
{
    const QImage picture = tileAt({20, 20});
    const auto difference = Bench::compare(picture, picture, picture, picture);
    CHECK(difference.changed == 0);
    CHECK_FALSE(difference.isSameChange());
}

TEST_CASE("picture comparison: what differs beside the change counts, too")
{
    const QImage before = tileAt({20, 20}), after = tileAt({40, 20});
    QImage other = after;
    QPainter(&other).fillRect(QRect(100, 50, 12, 12), Qt::blue);
    QImage otherBefore = before;
    QPainter(&otherBefore).fillRect(QRect(100, 50, 12, 12), Qt::blue);
    const auto difference = Bench::compare(after, before, other, otherBefore);
    CHECK(difference.ofChanged == 0.0);
    CHECK(difference.ofAll == doctest::Approx(144.0 / 20000));
    CHECK_FALSE(difference.isSameChange());
}
