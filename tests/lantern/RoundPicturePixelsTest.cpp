#include "RoundPicturePixels.hpp"

#include "Composition.hpp"

#include <QImage>
#include <QPainter>

#include <doctest/doctest.h>

#include <algorithm>
#include <cstdlib>

using namespace Lantern;

namespace
{
const QRect kCanvas(0, 0, 240, 200);
const Vecta::Rect kPictureRect{-70.f, -50.f, 140.f, 100.f};

/// Its pixels differ from one another by little, so that an edge is what shows.
QImage evenPicture(QImage::Format format)
{
    QImage picture(280, 200, format);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixelColor(x, y, QColor(200 + x / 20, 90 + y / 20, 40));
    return picture;
}

QTransform aroundCentre(double degrees, double scale = 1.0)
{
    return QTransform::fromTranslate(120.0, 100.0).rotate(degrees).scale(scale, scale);
}

QImage drawnIn(const QRect& area, const QTransform& toDevice, const Corners& corners, const QImage& picture,
               unsigned opacity = 255u)
{
    QImage image(kCanvas.size(), QImage::Format_RGB32);
    image.fill(QColor(20, 60, 160));
    const QRectF target(double(kPictureRect.x), double(kPictureRect.y), double(kPictureRect.width), double(kPictureRect.height));
    SampledPixels pixels(kCanvas, area, picture, toDevice, target, QRectF(picture.rect()), opacity);
    REQUIRE(pixels.canDraw());
    Composition composition;
    composition.add(RoundPicturePixels(std::move(pixels), toDevice, RoundBox{kPictureRect, corners}.fitted()));
    composition.drawInto(image, {area});
    return image;
}

/// By Qt's painter, with the outline filled with the picture.
QImage paintedPicture(const QTransform& toDevice, double radius, const QImage& picture)
{
    QImage image(kCanvas.size(), QImage::Format_RGB32);
    image.fill(QColor(20, 60, 160));
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setTransform(toDevice);
    QBrush brush(picture);
    brush.setTransform(QTransform::fromTranslate(-70.0, -50.0).scale(0.5, 0.5));
    painter.setBrush(brush);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(QRectF(-70.0, -50.0, 140.0, 100.0), radius, radius);
    return image;
}

int worstDifference(const QImage& a, const QImage& b)
{
    int worst = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb one = a.pixel(x, y), other = b.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(one) - qRed(other)), std::abs(qGreen(one) - qGreen(other)),
                              std::abs(qBlue(one) - qBlue(other))});
        }
    return worst;
}
}

TEST_CASE("round picture: its edges are those that the painter gives the outline")
{
    const QImage picture = evenPicture(QImage::Format_RGB32);
    for (const double radius : {2.0, 16.0, 50.0})
        for (const double degrees : {0.0, 7.0, -45.0, 90.0}) {
            CAPTURE(radius);
            CAPTURE(degrees);
            const QImage drawn = drawnIn(kCanvas, aroundCentre(degrees), Corners::all(float(radius)), picture);
            CHECK(worstDifference(drawn, paintedPicture(aroundCentre(degrees), radius, picture)) <= 24);
        }
}

TEST_CASE("round picture: a part of it has the pixels of the whole, whatever its corners, its alpha and its opacity")
{
    Corners corners = Corners::all(30.f);
    corners.topRight = {};
    corners.bottomLeft = {60.f, 20.f};
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied})
        for (const unsigned opacity : {255u, 100u}) {
            const QImage whole = drawnIn(kCanvas, aroundCentre(20.0, 1.2), corners, evenPicture(format), opacity);
            for (const QRect& part : {QRect(0, 0, 90, 70), QRect(60, 30, 5, 150), QRect(101, 99, 120, 90)}) {
                const QImage drawn = drawnIn(part, aroundCentre(20.0, 1.2), corners, evenPicture(format), opacity);
                CHECK(drawn.copy(part) == whole.copy(part));
            }
        }
}

TEST_CASE("round picture: its middle is the picture without corners, and nothing shows beyond the box")
{
    const QImage picture = evenPicture(QImage::Format_RGB32);
    const QImage sharp = drawnIn(kCanvas, aroundCentre(9.0), Corners(), picture);
    const QImage round = drawnIn(kCanvas, aroundCentre(9.0), Corners::all(40.f), picture);
    CHECK(worstDifference(sharp.copy(90, 70, 60, 60), round.copy(90, 70, 60, 60)) == 0);
    CHECK(worstDifference(sharp, round) > 100);
    // Half a pixel inside of a corner that is round, and at the middle of the upper side.
    const QPoint corner = aroundCentre(9.0).map(QPointF(-66.0, -46.0)).toPoint();
    CHECK(round.pixel(corner) == qRgb(20, 60, 160));
    CHECK(sharp.pixel(corner) != qRgb(20, 60, 160));
    CHECK(round.pixel(0, 0) == qRgb(20, 60, 160));
    CHECK(round.pixel(aroundCentre(9.0).map(QPointF(0.0, -47.0)).toPoint())
          == sharp.pixel(aroundCentre(9.0).map(QPointF(0.0, -47.0)).toPoint()));
}

TEST_CASE("round picture: hides what is below it where it is opaque and covers the pixels")
{
    const auto source = [](QImage::Format format, unsigned opacity) {
        SampledPixels pixels(kCanvas, kCanvas, evenPicture(format), aroundCentre(9.0), QRectF(-70.0, -50.0, 140.0, 100.0),
                             QRectF(0.0, 0.0, 280.0, 200.0), opacity);
        return RoundPicturePixels(std::move(pixels), aroundCentre(9.0), {kPictureRect, Corners::all(10.f)});
    };
    const RoundPicturePixels opaque = source(QImage::Format_RGB32, 255u);
    CHECK(opaque.isSolid());
    const PixelSpan middle = opaque.span(100);
    CHECK(middle.fullEnd - middle.fullBegin > 130);
    CHECK(middle.fullBegin - middle.begin < 5);
    CHECK_FALSE(source(QImage::Format_ARGB32_Premultiplied, 255u).isSolid());
    CHECK_FALSE(source(QImage::Format_RGB32, 254u).isSolid());
}
