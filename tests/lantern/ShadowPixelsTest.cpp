#include "ShadowPixels.hpp"

#include "RoundBoxCoverage.hpp"
#include "ShadowMasks.hpp"

#include "Composition.hpp"
#include "TestColors.hpp"

#include <Pictures.hpp>

#include <QImage>
#include <QTransform>

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>

using LanternTest::kArea;
using namespace Lantern;

namespace
{

struct Thrown
{
    RoundBox box{{-30.f, -20.f, 60.f, 40.f}, Corners::all(9.f)};
    BoxShadow shadow;
    double degrees = 0.0;
    double opacity = 1.0;

    [[nodiscard]] QTransform transform() const
    {
        QTransform result;
        result.translate(60.0, 50.0);
        result.rotate(degrees);
        return result;
    }
    [[nodiscard]] QImage picture(const std::vector<QRect>& parts = {kArea}) const
    {
        QImage image(kArea.size(), QImage::Format_RGB32);
        image.fill(Qt::white);
        for (const QRect& part : parts) {
            Composition composition;
            composition.add(ShadowPixels(part, transform(), box, shadow, opacity));
            composition.drawInto(image, {part});
        }
        return image;
    }
};

Thrown blackArea(Vecta::Vector2f offset, float blur, float spread, bool isInset = false)
{
    Thrown thrown;
    thrown.shadow = {offset, blur, spread, {0.f, 0.f, 0.f, 1.f}, isInset};
    return thrown;
}
}

TEST_CASE("shadow: nothing of it shows under the box")
{
    const QImage image = blackArea({4.f, 6.f}, 10.f, 3.f).picture();
    for (int y = 40; y < 60; ++y)
        for (int x = 32; x < 88; ++x)
            REQUIRE(image.pixel(x, y) == 0xffffffffu);
    CHECK(qGreen(image.pixel(60, 72)) < 60);
    CHECK(qGreen(image.pixel(93, 50)) < 90);
    CHECK(qGreen(image.pixel(27, 40)) > qGreen(image.pixel(93, 60)));
}

TEST_CASE("shadow: without blur it is the box itself, moved and so much larger")
{
    Thrown thrown = blackArea({10.f, 5.f}, 0.f, 4.f);
    thrown.box.corners = {};
    const QImage image = thrown.picture();
    CHECK(image.pixel(103, 78) == 0xff000000u);
    CHECK(image.pixel(104, 78) == 0xffffffffu);
    CHECK(image.pixel(103, 79) == 0xffffffffu);
    CHECK(image.pixel(36, 70) == 0xff000000u);
    CHECK(image.pixel(35, 70) == 0xffffffffu);
}

TEST_CASE("shadow: inset it lies inside of the box only, at the edges that it comes from")
{
    const QImage image = blackArea({6.f, 0.f}, 8.f, 2.f, true).picture();
    CHECK(qGreen(image.pixel(31, 50)) < 20);
    CHECK(qGreen(image.pixel(60, 50)) > 250);
    CHECK(qGreen(image.pixel(88, 50)) > 225);
    CHECK(image.pixel(28, 50) == 0xffffffffu);
    CHECK(image.pixel(60, 72) == 0xffffffffu);
    CHECK(image.pixel(31, 31) == 0xffffffffu);
    // It may be so wide that nothing is left free.
    CHECK(blackArea({}, 0.f, 40.f, true).picture().pixel(60, 50) == 0xff000000u);
    CHECK(blackArea({}, 6.f, 40.f, true).picture().pixel(60, 50) == 0xff000000u);
}

TEST_CASE("shadow: it shows beside round corners, and inset it fades towards the middle")
{
    Thrown thrown = blackArea({}, 0.f, 6.f);
    thrown.box.corners = Corners::all(20.f);
    CHECK(thrown.picture().pixel(32, 32) == 0xff000000u); // inside of the rectangle, outside of its corner
    CHECK(thrown.picture().pixel(45, 45) == 0xffffffffu);
    thrown = blackArea({}, 8.f, 0.f, true);
    // 5.5 px from the edge, with a deviation of 4 px
    CHECK(qGreen(thrown.picture().pixel(35, 50)) == doctest::Approx(233).epsilon(0.02));
    CHECK(qGreen(thrown.picture().pixel(60, 64)) == doctest::Approx(233).epsilon(0.02));
}

TEST_CASE("shadow: a colour shows as strong as it and the shadow are")
{
    Thrown thrown = blackArea({0.f, 30.f}, 0.f, 0.f);
    thrown.shadow.color = {1.f, 0.f, 0.f, 0.5f};
    CHECK(qGreen(thrown.picture().pixel(60, 76)) == doctest::Approx(127).epsilon(0.02));
    CHECK(qRed(thrown.picture().pixel(60, 76)) >= 254);
    thrown.opacity = 0.5;
    CHECK(qGreen(thrown.picture().pixel(60, 76)) == doctest::Approx(191).epsilon(0.02));
    thrown.shadow.spreadPx = -40.f;
    CHECK(thrown.picture().pixel(60, 76) == 0xffffffffu);
}

TEST_CASE("shadow: a part that is drawn alone has the pixels of the whole, however the box is turned")
{
    for (const bool isInset : {false, true})
        for (const double degrees : {0.0, 12.5, 90.0, 200.0}) {
            CAPTURE(isInset);
            CAPTURE(degrees);
            Thrown thrown = blackArea({3.f, 5.f}, 12.f, 1.5f, isInset);
            thrown.degrees = degrees;
            const QImage whole = thrown.picture();
            CHECK(whole != blackArea({}, 0.f, -40.f).picture());
            CHECK(thrown.picture({{0, 0, 43, 51}, {43, 0, 77, 51}, {0, 51, 17, 49}, {17, 51, 103, 49}}) == whole);
        }
}

TEST_CASE("shadow: each pixel is the shadow less what the box covers of it, however far from the box it lies")
{
    const Corners round = Corners::all(9.f);
    const Corners flat{{20.f, 3.f}, {4.f, 15.f}, {0.f, 0.f}, {30.f, 2.f}};
    const Corners flattest{{50.f, 1.f}, {}, {}, {}}; // whose pixels reach further than half of one
    for (const bool isInset : {false, true})
        for (const Corners& corners : {round, flat, flattest, Corners()})
            for (const float blur : {0.f, 12.f})
                for (const double degrees : {0.0, 33.0}) {
                    CAPTURE(isInset);
                    CAPTURE(blur);
                    CAPTURE(degrees);
                    if (isInset && corners == flattest)
                        continue; // it ends at the box's upright sides
                    Thrown thrown = blackArea({5.f, -4.f}, blur, 2.f, isInset);
                    thrown.box.corners = corners;
                    thrown.degrees = degrees;
                    RoundBox shadowBox = thrown.box.grown(isInset ? -2.f : 2.f);
                    shadowBox.rect.x += 5.f;
                    shadowBox.rect.y -= 4.f;
                    const RoundBoxCoverage box(thrown.box, 1.0);
                    const RoundBoxCoverage sharp(shadowBox, 1.0);
                    const ShadowMask mask(ShadowMask::keyOf(shadowBox, std::max(blur, 1.f)));
                    const QTransform toLocal = thrown.transform().inverted();
                    const QImage image = thrown.picture();
                    for (int y = 0; y < image.height(); ++y)
                        for (int x = 0; x < image.width(); ++x) {
                            const QPointF place = toLocal.map(QPointF(x + 0.5, y + 0.5));
                            const double clip = box.at(place.x(), place.y());
                            const QTransform toPlace = QTransform::fromTranslate(place.x() - 0.5, place.y() - 0.5);
                            const double cast = blur > 0.f
                                ? ShadowPlaces(mask, toPlace, shadowBox.rect).at(0, 0) / double(ShadowPlaces::kFull)
                                : sharp.at(place.x(), place.y());
                            const double share = isInset ? (1.0 - cast) * clip : cast * (1.0 - clip);
                            CAPTURE(x);
                            CAPTURE(y);
                            REQUIRE(std::abs(qGreen(image.pixel(x, y)) - (255.0 - share * 255.0)) <= 0.7);
                        }
                }
}
