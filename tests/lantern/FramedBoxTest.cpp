#include "FramedBox.hpp"

#include "Composition.hpp"

#include <Pictures.hpp>

#include <doctest/doctest.h>

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QTransform>

#include <vector>

using namespace Lantern;

namespace
{
constexpr QRect kPicture(0, 0, 120, 100);
const QRectF kBox(-40.5, -30.25, 80, 60);

QImage gray()
{
    QImage image(kPicture.size(), QImage::Format_RGB32);
    image.fill(0xff303030u);
    return image;
}

QTransform turnedBy(double degrees, double scale = 1.0)
{
    QTransform transform;
    transform.translate(60.3, 50.8);
    transform.rotate(degrees);
    transform.scale(scale, scale);
    return transform;
}

QImage drawn(const QTransform& transform, const FramedBox::Shape& shape, const std::vector<QRect>& areas = {kPicture})
{
    QImage image = gray();
    Composition composition;
    composition.add(FramedBox(kPicture, transform, kBox, shape));
    composition.drawInto(image, areas);
    return image;
}

QPainterPath rounded(double outwards, double radius)
{
    QPainterPath path;
    const QRectF box = kBox.adjusted(-outwards, -outwards, outwards, outwards);
    if (radius > 0.0)
        path.addRoundedRect(box, radius, radius);
    else
        path.addRect(box);
    return path;
}

QImage expectedOf(const QTransform& transform, const FramedBox::Shape& shape)
{
    QImage image = gray();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(transform);
    const auto color = [](QRgb pixel) { return QColor::fromRgba(qUnpremultiply(pixel)); };
    if (shape.fill != 0)
        painter.fillPath(rounded(0.0, shape.radius), color(shape.fill));
    const double half = shape.strokeWidth / 2.0;
    QPainterPath border = rounded(half, shape.radius > 0.0 ? shape.radius + half : 0.0);
    border.addPath(rounded(-half, shape.radius - half));
    if (shape.stroke != 0)
        painter.fillPath(border, color(shape.stroke));
    return image;
}

struct Row
{
    const char* what;
    FramedBox::Shape shape;
};
const Row kRows[] = {
    {"round", {14.0, 0.0, 0xff50a0f0u, 0}},
    {"round, faint", {14.0, 0.0, 0x80204060u, 0}},
    {"round with a border", {14.0, 6.0, 0xff50a0f0u, 0xffffffffu}},
    {"round with a faint border, which the fill shines through", {20.0, 8.0, 0xff50a0f0u, 0x80008000u}},
    {"a border wider than the corner", {3.0, 10.0, 0xff50a0f0u, 0xffffffffu}},
    {"a border alone", {12.0, 4.0, 0, 0xffffffffu}},
    {"a border with sharp corners", {0.0, 5.0, 0xff204060u, 0xffffffffu}},
    {"as round as can be", {30.0, 3.0, 0xff204060u, 0xffff0000u}},
    {"a border that leaves no room", {10.0, 59.0, 0xff204060u, 0xffff0000u}},
};
}

TEST_CASE("framed box: it looks as a painter draws it")
{
    for (const Row& row : kRows)
        for (const double degrees : {0.0, 7.0, 90.0, 145.0})
            for (const double scale : {1.0, 0.7}) {
                CAPTURE(row.what);
                CAPTURE(degrees);
                CAPTURE(scale);
                const QTransform transform = turnedBy(degrees, scale);
                // Shares at edges are rounded another way.
                CHECK_PICTURE(drawn(transform, row.shape), expectedOf(transform, row.shape), 60);
            }
}

TEST_CASE("framed box: each part shows the pixels of the whole box")
{
    for (const Row& row : kRows)
        for (const double degrees : {0.0, 21.0}) {
            CAPTURE(row.what);
            const QTransform transform = turnedBy(degrees);
            const QImage whole = drawn(transform, row.shape);
            for (const QRect& part : {QRect(20, 20, 9, 70), QRect(50, 45, 20, 20), QRect(0, 75, 120, 3)})
                CHECK(drawn(transform, row.shape, {part}).copy(part) == whole.copy(part));
        }
}

TEST_CASE("framed box: what its inside hides is hidden, and what shows through it is not")
{
    for (const Row& row : kRows) {
        CAPTURE(row.what);
        CHECK(FramedBox(kPicture, turnedBy(3), kBox, row.shape).isSolid() == (row.shape.fill >> 24 == 255u));
        const FramedBox box(kPicture, turnedBy(3), kBox, row.shape);
        const QImage image = drawn(turnedBy(3), row.shape);
        for (int y = 0; y < kPicture.height(); ++y)
            if (const PixelSpan span = box.span(y); box.isSolid())
                for (int x = span.fullBegin; x < span.fullEnd; ++x)
                    REQUIRE(image.pixel(x, y) == row.shape.fill);
    }
}

TEST_CASE("framed box: it is not drawn sheared, flat, or stretched by more than a screen does")
{
    CHECK(FramedBox::canDraw(turnedBy(33, 0.2)));
    CHECK(FramedBox::canDraw(QTransform::fromScale(-1.0, 1.0)));
    CHECK(FramedBox::canDraw(QTransform::fromScale(1.0, 1.02)));
    CHECK_FALSE(FramedBox::canDraw(QTransform::fromScale(1.0, 1.1)));
    CHECK_FALSE(FramedBox::canDraw(QTransform::fromScale(0.0, 0.0)));
    CHECK_FALSE(FramedBox::canDraw(QTransform().shear(0.2, 0.0)));
}
