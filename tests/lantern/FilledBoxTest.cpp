#include "FilledBox.hpp"

#include "Composition.hpp"

#include <Pictures.hpp>

#include <doctest/doctest.h>

#include <QImage>
#include <QPainter>
#include <QTransform>

using namespace Lantern;

namespace
{
QImage black()
{
    QImage image(120, 100, QImage::Format_RGB32);
    image.fill(Qt::black);
    return image;
}

QTransform turned(double degrees)
{
    QTransform transform;
    transform.translate(60.3, 50.8);
    transform.rotate(degrees);
    return transform;
}
}

TEST_CASE("filled box: a box looks as a painter draws it")
{
    for (const double degrees : {0.0, 7.0, 30.0, 90.0, 145.0}) {
        for (const QRgb pixel : {0xff50a0f0u, 0x80204060u}) {
            CAPTURE(degrees);
            const QRectF box(-30.5, -20.25, 60, 40);
            QImage image = black(), expected = black();
            Composition composition;
            composition.add(FilledBox(image.rect(), turned(degrees), box, pixel));
            composition.drawInto(image, {image.rect()});
            QPainter painter(&expected);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setTransform(turned(degrees));
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor::fromRgba(qUnpremultiply(pixel)));
            painter.drawRect(box);
            // Shares at edges are rounded another way.
            CHECK_PICTURE(image, expected, 40);
            CHECK(TestSupport::difference(image.copy(45, 40, 30, 20), expected.copy(45, 40, 30, 20)) <= 1);
        }
    }
}

TEST_CASE("filled box: only an opaque colour hides what is below")
{
    CHECK(FilledBox({0, 0, 120, 100}, turned(3), QRectF(0, 0, 9, 9), 0xff000000u).isSolid());
    CHECK_FALSE(FilledBox({0, 0, 120, 100}, turned(3), QRectF(0, 0, 9, 9), 0xfe000000u).isSolid());
}
