#include "PixelSampling.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace Lantern;

namespace
{
constexpr int kWidth = 37, kHeight = 23;

struct Picture
{
    explicit Picture(std::mt19937& random)
    {
        for (QRgb& pixel : pixels)
            pixel = QRgb(random());
        source = {pixels.data(), kWidth, false, 0, kWidth - 1, 0, kHeight - 1};
    }
    [[nodiscard]] QRgb at(int x, int y) const { return pixels[std::size_t(y * kWidth + x)]; }
    std::vector<QRgb> pixels = std::vector<QRgb>(std::size_t(kWidth * kHeight));
    SourcePixels source;
};

constexpr int place(double pixels)
{
    return int(pixels * (1 << kPlaceBits));
}
}

TEST_CASE("pixel sampling: at the centre of a pixel it is that pixel, in the middle between two their mean")
{
    std::mt19937 random(1);
    const Picture picture(random);
    std::vector<QRgb> row(64);
    sampleRow(row.data(), kWidth, picture.source, {0, place(5), place(1), 0});
    for (int x = 0; x < kWidth; ++x)
        CHECK(row[std::size_t(x)] == picture.at(x, 5));
    sampleRow(row.data(), kWidth - 1, picture.source, {place(0.5), place(5), place(1), 0});
    for (int x = 0; x + 1 < kWidth; ++x)
        CHECK(qRed(row[std::size_t(x)]) == (qRed(picture.at(x, 5)) + qRed(picture.at(x + 1, 5)) + 1) / 2);
    sampleRow(row.data(), kHeight - 1, picture.source, {place(7), place(0.5), 0, place(1)});
    for (int y = 0; y + 1 < kHeight; ++y)
        CHECK(qBlue(row[std::size_t(y)]) == (qBlue(picture.at(7, y)) + qBlue(picture.at(7, y + 1)) + 1) / 2);
}

TEST_CASE("pixel sampling: outside of the part the pixel at its edge goes on")
{
    std::mt19937 random(2);
    Picture picture(random);
    picture.source.left = 3;
    picture.source.right = 9;
    picture.source.top = 2;
    picture.source.bottom = 6;
    std::vector<QRgb> row(32);
    sampleRow(row.data(), 20, picture.source, {place(-4), place(-8), place(1), 0});
    for (int i = 0; i < 20; ++i)
        CHECK(row[std::size_t(i)] == picture.at(std::clamp(i - 4, 3, 9), 2));
    sampleRow(row.data(), 20, picture.source, {place(40), place(-4), 0, place(1)});
    for (int i = 0; i < 20; ++i)
        CHECK(row[std::size_t(i)] == picture.at(9, std::clamp(i - 4, 2, 6)));
}

TEST_CASE("pixel sampling: no component of a sample exceeds its alpha where none of the picture does")
{
    std::mt19937 random(5);
    Picture picture(random);
    for (QRgb& pixel : picture.pixels)
        pixel = qPremultiply(pixel);
    const auto number = [&](double high) { return high * double(random() % 100000) / 100000.0; };
    std::vector<QRgb> row(64);
    for (int i = 0; i < 500; ++i) {
        sampleRow(row.data(), 40, picture.source, {place(number(30)), place(number(20)), place(number(1)), place(number(1))});
        for (int x = 0; x < 40; ++x) {
            const QRgb sample = row[std::size_t(x)];
            REQUIRE(std::max({qRed(sample), qGreen(sample), qBlue(sample)}) <= qAlpha(sample));
        }
    }
}

TEST_CASE("pixel sampling: a picture without alpha gives opaque pixels")
{
    std::mt19937 random(3);
    Picture picture(random);
    picture.source.isOpaque = true;
    std::vector<QRgb> row(32);
    sampleRow(row.data(), 20, picture.source, {place(1.3), place(2.7), place(0.9), place(0.4)});
    for (int i = 0; i < 20; ++i)
        CHECK(qAlpha(row[std::size_t(i)]) == 255);
}

TEST_CASE("pixel sampling: wide registers give the values of single ones, wherever a row begins")
{
    std::mt19937 random(4);
    const Picture picture(random);
    const auto number = [&](double low, double high) { return low + (high - low) * double(random() % 100000) / 100000.0; };
    for (int i = 0; i < 2000; ++i) {
        const SourcePlace begin{place(number(-20, 60)), place(number(-20, 40)), place(number(-3, 3)), place(number(-3, 3))};
        const int count = 1 + int(random() % 40);
        std::vector<QRgb> row(std::size_t(count + kSampledAtOnce)), plain(std::size_t(count + kSampledAtOnce));
        sampleRow(row.data(), count, picture.source, begin);
        sampleRowPlainly(plain.data(), count, picture.source, begin);
        row.resize(std::size_t(count));
        plain.resize(std::size_t(count));
        REQUIRE(row == plain);
        const int later = int(random() % unsigned(count));
        std::vector<QRgb> rest(std::size_t(count - later + kSampledAtOnce));
        sampleRow(rest.data(), count - later, picture.source,
                  {begin.x + later * begin.stepX, begin.y + later * begin.stepY, begin.stepX, begin.stepY});
        REQUIRE(rest.front() == row[std::size_t(later)]);
    }
}
