#include "BoxFramePixels.hpp"

#include "Composition.hpp"
#include "TestColors.hpp"

#include <QImage>
#include <QTransform>

#include <doctest/doctest.h>

using LanternTest::kArea;
using LanternTest::kBlue;
using LanternTest::kRed;
using LanternTest::kWhite;
using namespace Lantern;

namespace
{
const Bedrock::Color kGreen{0.f, 1.f, 0.f, 1.f};

struct Framed
{
    RoundBox box{{-30.f, -20.f, 60.f, 40.f}, {}};
    BoxFrame frame{4.f, 6.f, 8.f, 10.f, kRed, kGreen, kBlue, kWhite};
    double degrees = 0.0;
    double opacity = 1.0;

    [[nodiscard]] QImage picture(const std::vector<QRect>& parts = {kArea}) const
    {
        QTransform transform;
        transform.translate(60.0, 50.0);
        transform.rotate(degrees);
        QImage image(kArea.size(), QImage::Format_RGB32);
        image.fill(Qt::black);
        for (const QRect& part : parts) {
            Composition composition;
            composition.add(BoxFramePixels(part, transform, box.fitted(), frame, opacity));
            composition.drawInto(image, {part});
        }
        return image;
    }
};
}

TEST_CASE("box frame: each side has its width and its colour, and the inside stays free")
{
    const QImage image = Framed().picture();
    CHECK(image.pixel(60, 30) == 0xffff0000u);
    CHECK(image.pixel(60, 33) == 0xffff0000u);
    CHECK(image.pixel(60, 34) == 0xff000000u);
    CHECK(image.pixel(89, 50) == 0xff00ff00u);
    CHECK(image.pixel(84, 50) == 0xff00ff00u);
    CHECK(image.pixel(83, 50) == 0xff000000u);
    CHECK(image.pixel(60, 62) == 0xff0000ffu);
    CHECK(image.pixel(60, 61) == 0xff000000u);
    CHECK(image.pixel(39, 50) == 0xffffffffu);
    CHECK(image.pixel(40, 50) == 0xff000000u);
    CHECK(image.pixel(29, 50) == 0xff000000u);
}

TEST_CASE("box frame: sides meet on the line between the corners")
{
    const QImage image = Framed().picture();
    CHECK(image.pixel(33, 30) == 0xffff0000u); // 3.5 / 10 of the left side, 0.5 / 4 of the top
    CHECK(image.pixel(31, 32) == 0xffffffffu);
    CHECK(image.pixel(88, 65) == 0xff00ff00u);
    CHECK(image.pixel(85, 68) == 0xff0000ffu);
}

TEST_CASE("box frame: a side without width is not there, and round corners are round inside, too")
{
    Framed framed;
    framed.frame.left = framed.frame.right = framed.frame.top = 0.f;
    CHECK(framed.picture().pixel(30, 50) == 0xff000000u);
    CHECK(framed.picture().pixel(30, 66) == 0xff0000ffu);
    framed = Framed();
    framed.frame.left = framed.frame.right = framed.frame.bottom = framed.frame.top = 3.f;
    framed.box.corners = Corners::all(15.f);
    const QImage image = framed.picture();
    CHECK(image.pixel(31, 31) == 0xff000000u);
    CHECK(image.pixel(35, 35) != 0xff000000u);
    CHECK(image.pixel(38, 38) == 0xff000000u);
    framed.opacity = 0.5;
    CHECK(qBlue(framed.picture().pixel(60, 69)) == 128);
}

TEST_CASE("box frame: a part that is drawn alone has the pixels of the whole, however the box is turned")
{
    for (const double degrees : {0.0, 12.5, 90.0, 200.0}) {
        CAPTURE(degrees);
        Framed framed;
        framed.degrees = degrees;
        framed.box.corners = Corners::all(11.f);
        CHECK(framed.picture({{0, 0, 43, 51}, {43, 0, 77, 51}, {0, 51, 17, 49}, {17, 51, 103, 49}}) == framed.picture());
    }
}
