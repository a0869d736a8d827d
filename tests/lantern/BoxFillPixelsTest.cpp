#include "BoxFillPixels.hpp"

#include "Composition.hpp"
#include "TestColors.hpp"

#include <Pictures.hpp>

#include <QImage>
#include <QTransform>

#include <doctest/doctest.h>

#include <cstdlib>

using LanternTest::kArea;
using LanternTest::kBlue;
using LanternTest::kRed;
using namespace Lantern;

namespace
{

struct Filled
{
    RoundBox box{{-30.f, -20.f, 60.f, 40.f}, {}};
    BoxFill fill;
    double degrees = 0.0;
    double opacity = 1.0;

    [[nodiscard]] BoxFillPixels pixels(const QRect& area = kArea) const
    {
        QTransform transform;
        transform.translate(60.0, 50.0);
        transform.rotate(degrees);
        return {area, transform, box.fitted(), fill, opacity};
    }
    [[nodiscard]] QImage picture(const std::vector<QRect>& parts = {kArea}) const
    {
        QImage image(kArea.size(), QImage::Format_RGB32);
        image.fill(Qt::black);
        for (const QRect& part : parts) {
            Composition composition;
            composition.add(pixels(part));
            composition.drawInto(image, {part});
        }
        return image;
    }
};

Filled redToBlue(const Vecta::Rect& tile = {-30.f, -20.f, 60.f, 40.f})
{
    Filled filled;
    filled.fill.gradient = {Gradient::Kind::Linear, {0.f, 0.f}, {tile.width, 0.f}, {{0.f, kRed}, {1.f, kBlue}}};
    filled.fill.tile = tile;
    return filled;
}

/// Red, green; blue, white.
QImage fourPixels()
{
    QImage image(2, 2, QImage::Format_RGB32);
    image.setPixel(0, 0, 0xffff0000u);
    image.setPixel(1, 0, 0xff00ff00u);
    image.setPixel(0, 1, 0xff0000ffu);
    image.setPixel(1, 1, 0xffffffffu);
    return image;
}
}

TEST_CASE("box fill: each corner has its own radius, and a colour fills the rest")
{
    Filled filled;
    filled.fill.color = kRed;
    filled.box.corners.topLeft = {12.f, 12.f};
    const QImage image = filled.picture();
    CHECK(image.pixel(31, 31) == 0xff000000u);
    CHECK(image.pixel(88, 31) == 0xffff0000u);
    CHECK(image.pixel(31, 68) == 0xffff0000u);
    CHECK(image.pixel(60, 50) == 0xffff0000u);
    CHECK(image.pixel(29, 50) == 0xff000000u);
    CHECK(image.pixel(60, 70) == 0xff000000u);
}

TEST_CASE("box fill: whichever corner is round, it is left free")
{
    const QPoint corners[] = {{32, 32}, {87, 32}, {87, 67}, {32, 67}};
    for (int round = 0; round < 4; ++round) {
        CAPTURE(round);
        Filled filled;
        filled.fill.color = kRed;
        Vecta::Vector2f* const radii[] = {&filled.box.corners.topLeft, &filled.box.corners.topRight,
                                          &filled.box.corners.bottomRight, &filled.box.corners.bottomLeft};
        *radii[round] = {12.f, 12.f};
        const QImage image = filled.picture();
        for (int i = 0; i < 4; ++i)
            CHECK(image.pixel(corners[i]) == (i == round ? 0xff000000u : 0xffff0000u));
    }
}

TEST_CASE("box fill: a gradient lies in its tile, which repeats where it may")
{
    Filled filled = redToBlue({-30.f, -20.f, 20.f, 10.f});
    CHECK(filled.picture().pixel(55, 45) == 0xff000000u);
    CHECK(qRed(filled.picture().pixel(31, 35)) > 220);
    filled.fill.repeatsX = true;
    CHECK(qRed(filled.picture().pixel(51, 35)) > 220);
    CHECK(qBlue(filled.picture().pixel(49, 35)) > 220);
    CHECK(filled.picture().pixel(31, 45) == 0xff000000u);
    filled.fill.repeatsY = true;
    CHECK(qRed(filled.picture().pixel(71, 65)) > 220);
}

TEST_CASE("box fill: the colours of a gradient are those of their places, however the box is turned")
{
    // Its tile covers the box, reaches further or leaves a strip free: pixels in the middle have the same colours.
    for (const Vecta::Rect tile :
         {Vecta::Rect{-30.f, -20.f, 60.f, 40.f}, Vecta::Rect{-31.f, -22.f, 70.f, 50.f}, Vecta::Rect{-30.f, -20.f, 58.f, 38.f}})
        for (const auto kind : {Gradient::Kind::Linear, Gradient::Kind::Radial})
            for (const double degrees : {0.0, 24.0, 180.0}) {
                CAPTURE(tile.width);
                CAPTURE(degrees);
                Filled filled;
                filled.degrees = degrees;
                filled.fill.gradient = {
                    kind, {3.f, -2.f}, {41.f, 30.f}, {{0.f, kRed}, {0.4f, kBlue}, {0.4f, kRed}, {0.9f, kBlue}}};
                filled.fill.tile = tile;
                const QImage image = filled.picture();
                const GradientColors colors(filled.fill.gradient, 1.0);
                const QTransform toBox = QTransform::fromTranslate(60.0, 50.0).rotate(degrees).inverted();
                for (const QPoint pixel : {QPoint(60, 50), QPoint(48, 43), QPoint(73, 54), QPoint(52, 57)}) {
                    const QPointF place = toBox.map(QPointF(pixel) + QPointF(0.5, 0.5));
                    const QRgb expected = colors.at(place.x() - double(tile.x), place.y() - double(tile.y));
                    const QRgb drawn = image.pixel(pixel);
                    CHECK(std::abs(qRed(drawn) - qRed(expected)) <= 1);
                    CHECK(std::abs(qBlue(drawn) - qBlue(expected)) <= 1);
                }
            }
}

TEST_CASE("box fill: a picture fills its tile, and repeats across its edges")
{
    Filled filled;
    filled.fill.image = fourPixels();
    filled.fill.tile = {-30.f, -20.f, 60.f, 40.f};
    QImage image = filled.picture();
    CHECK(image.pixel(31, 31) == 0xffff0000u);
    CHECK(image.pixel(88, 31) == 0xff00ff00u);
    CHECK(image.pixel(31, 68) == 0xff0000ffu);
    CHECK(std::abs(qRed(image.pixel(60, 31)) - 123) <= 3); // halfway between red and green
    CHECK(std::abs(qGreen(image.pixel(60, 31)) - 132) <= 3);
    CHECK(std::abs(qRed(image.pixel(31, 50)) - 123) <= 3); // and between red and blue
    CHECK(std::abs(qBlue(image.pixel(31, 50)) - 132) <= 6);
    filled.fill.tile = {-30.f, -20.f, 8.f, 8.f};
    CHECK(qGreen(filled.picture().pixel(30, 31)) == 0); // at its edge nothing of the other one
    filled.fill.repeatsX = filled.fill.repeatsY = true;
    CHECK(qGreen(filled.picture().pixel(30, 31)) > 60);
    filled.fill.tile = {-30.f, -20.f, 2.f, 2.f};
    image = filled.picture();
    for (int i = 0; i < 30; ++i) {
        REQUIRE(image.pixel(30 + 2 * i, 40) == 0xffff0000u);
        REQUIRE(image.pixel(31 + 2 * i, 41) == 0xffffffffu);
    }
    filled.fill.tile.y = -19.f; // one row further down
    CHECK(filled.picture().pixel(30, 40) == 0xff0000ffu);
    filled.opacity = 0.5;
    CHECK(filled.picture().pixel(30, 40) == 0xff000080u);
}

TEST_CASE("box fill: only what is opaque and fills the box hides what is below")
{
    CHECK(redToBlue().pixels().isSolid());
    CHECK_FALSE(redToBlue({-30.f, -20.f, 20.f, 40.f}).pixels().isSolid());
    Filled flat = redToBlue({-30.f, -20.f, 60.f, 20.f});
    CHECK_FALSE(flat.pixels().isSolid());
    flat.fill.repeatsY = true;
    CHECK(flat.pixels().isSolid());
    Filled picture;
    picture.fill.image = fourPixels();
    picture.fill.tile = {-30.f, -20.f, 60.f, 40.f};
    CHECK(picture.pixels().isSolid());
    picture.opacity = 0.9;
    CHECK_FALSE(picture.pixels().isSolid());
    Filled faint = redToBlue();
    faint.opacity = 0.9;
    CHECK_FALSE(faint.pixels().isSolid());
    faint = redToBlue();
    faint.fill.gradient.stops[1].color.alpha = 0.f;
    CHECK_FALSE(faint.pixels().isSolid());
    Filled plain;
    plain.fill.color = kRed;
    CHECK(plain.pixels().isSolid());
    const PixelSpan span = plain.pixels().span(50);
    CHECK(span.fullBegin <= 32);
    CHECK(span.fullBegin >= 30);
    CHECK(span.fullEnd >= 88);
    CHECK(span.fullEnd <= 90);
}

TEST_CASE("box fill: a part that is drawn alone has the pixels of the whole, however the box is turned")
{
    for (const double degrees : {0.0, 12.5, 90.0, 200.0}) {
        CAPTURE(degrees);
        Filled filled = redToBlue({-25.f, -20.f, 17.f, 13.f});
        filled.box.corners = Corners::all(11.f);
        filled.fill.repeatsX = true;
        filled.degrees = degrees;
        const QImage whole = filled.picture();
        CHECK(filled.picture({{0, 0, 43, 51}, {43, 0, 77, 51}, {0, 51, 17, 49}, {17, 51, 103, 49}}) == whole);
        filled.fill.gradient = {};
        filled.fill.image = fourPixels();
        CHECK(filled.picture() != whole);
        CHECK(filled.picture({{0, 0, 43, 51}, {43, 0, 77, 51}, {0, 51, 17, 49}, {17, 51, 103, 49}}) == filled.picture());
    }
}
