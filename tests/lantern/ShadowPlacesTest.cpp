#include "ShadowPlaces.hpp"

#include <QTransform>

#include <doctest/doctest.h>

#include <array>
#include <random>
#include <vector>

using namespace Lantern;

namespace
{
constexpr int kShadowColumns = 400;
constexpr QRgb kShadowGround = 0xff7f3010u;

RoundBox shadowedBox(float width, float height)
{
    return {{5.f, 7.f, width, height}, Corners::all(9.f)};
}

std::vector<QRgb> greyRow()
{
    return std::vector<QRgb>(kShadowColumns, kShadowGround);
}
}

TEST_CASE("shadow places: eight pixels at a time have the values of each alone")
{
    std::mt19937 random(7);
    std::uniform_int_distribution<int> anyColumn(0, kShadowColumns);
    struct Row
    {
        const char* what;
        RoundBox box;
        float blur;
        double degrees, scale;
    };
    const std::array<Row, 6> rows{{{"upright", shadowedBox(300.f, 200.f), 14.f, 0.0, 1.0},
                                   {"turned", shadowedBox(200.f, 150.f), 14.f, 27.0, 1.0},
                                   {"smaller than its mask", shadowedBox(10.4f, 11.7f), 6.f, -63.0, 4.0},
                                   {"sharp and large", shadowedBox(120.f, 80.f), 2.f, 4.0, 2.5},
                                   {"a pixel for many units", shadowedBox(9000.f, 7000.f), 300.f, 100.0, 0.03},
                                   {"beyond 32 bits", shadowedBox(90000.f, 200.f), 3.f, 1.0, 1.0}}};
    for (const Row& tried : rows) {
        CAPTURE(tried.what);
        const ShadowMask mask(ShadowMask::keyOf(tried.box, tried.blur));
        const QTransform toDevice =
            QTransform::fromTranslate(180.0, 90.0).rotate(tried.degrees).scale(tried.scale, tried.scale).translate(-60.0, -40.0);
        const ShadowPlaces places(mask, toDevice.inverted(), tried.box.rect);
        bool isDrawn = false;
        for (int y = -40; y < 300; y += 3) {
            const int one = anyColumn(random), other = anyColumn(random);
            const int begin = std::min(one, other), end = std::max(one, other);
            std::vector<QRgb> wide = greyRow(), plain = greyRow();
            places.draw(wide.data(), y, begin, end, 0xc0103000u);
            places.drawPlainly(plain.data(), y, begin, end, 0xc0103000u);
            CAPTURE(y);
            CAPTURE(begin);
            CAPTURE(end);
            CHECK(wide == plain);
            isDrawn = isDrawn || plain != greyRow();
        }
        CHECK(isDrawn);
    }
}

TEST_CASE("shadow places: a pixel is drawn by the share that its place has, and pixels beyond the columns are left")
{
    const RoundBox box = shadowedBox(200.f, 150.f);
    const ShadowMask mask(ShadowMask::keyOf(box, 20.f));
    const ShadowPlaces places(mask, QTransform::fromTranslate(-50.0, -50.0), box.rect);
    std::vector<QRgb> row = greyRow();
    // Black that covers everything, so that what is left of the ground tells the share.
    places.draw(row.data(), 60, 37, 251, 0xff000000u);
    for (int column = 0; column < kShadowColumns; ++column) {
        CAPTURE(column);
        const bool isIn = column >= 37 && column < 251;
        const double share = isIn ? places.at(column, 60) / double(ShadowPlaces::kFull) : 0.0;
        CHECK(qRed(row[std::size_t(column)]) == doctest::Approx(127.0 * (1.0 - share)).epsilon(0.02));
    }
    CHECK(row[36] == kShadowGround);
    CHECK(row[251] == kShadowGround);
    CHECK(places.at(120, 60) > 0u);
}

TEST_CASE("shadow places: nothing is drawn where there are no columns")
{
    const RoundBox box = shadowedBox(200.f, 150.f);
    const ShadowMask mask(ShadowMask::keyOf(box, 20.f));
    const ShadowPlaces places(mask, QTransform(), box.rect);
    std::vector<QRgb> row = greyRow();
    places.draw(row.data(), 60, 100, 100, 0xff000000u);
    places.draw(row.data(), 60, 100, 90, 0xff000000u);
    CHECK(row == greyRow());
}
