#include "PixelSampling.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace Lantern;

namespace
{
constexpr int kWidth = 37, kHeight = 23;

struct SampledPicture
{
    explicit SampledPicture(std::mt19937& random)
    {
        for (QRgb& pixel : pixels)
            pixel = QRgb(random());
        source = {pixels.data(), kWidth, false, 0, kWidth - 1, 0, kHeight - 1};
    }
    [[nodiscard]] QRgb at(int x, int y) const { return pixels[std::size_t(y * kWidth + x)]; }
    std::vector<QRgb> pixels = std::vector<QRgb>(std::size_t(kWidth * kHeight));
    SourcePixels source;
};

const EdgeRow kCovered{{}, {1.f, 1.f, 1.f, 1.f}};

/// The samples themselves: on a transparent ground, all of each pixel.
void sampleRow(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place)
{
    std::fill(row, row + count, 0u);
    drawSamples(row, {0, count, 0, count}, source, place, kCovered, 255u);
}

constexpr int place(double pixels)
{
    return int(pixels * (1 << kPlaceBits));
}
}

TEST_CASE("pixel sampling: at the centre of a pixel it is that pixel, in the middle between two their mean")
{
    std::mt19937 random(1);
    const SampledPicture picture(random);
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
    SampledPicture picture(random);
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
    SampledPicture picture(random);
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
    SampledPicture picture(random);
    picture.source.isOpaque = true;
    std::vector<QRgb> row(32);
    sampleRow(row.data(), 20, picture.source, {place(1.3), place(2.7), place(0.9), place(0.4)});
    for (int i = 0; i < 20; ++i)
        CHECK(qAlpha(row[std::size_t(i)]) == 255);
}

TEST_CASE("pixel sampling: wide registers give the values of single ones, wherever a row begins")
{
    std::mt19937 random(4);
    SampledPicture picture(random);
    for (QRgb& pixel : picture.pixels)
        pixel = qPremultiply(pixel);
    const auto number = [&](double low, double high) { return low + (high - low) * double(random() % 100000) / 100000.0; };
    constexpr int kRow = 64;
    for (int i = 0; i < 3000; ++i) {
        SourcePlace place{::place(number(-20, 60)), ::place(number(-20, 40)), ::place(number(-3, 3)), ::place(number(-3, 3))};
        place.ahead = i % 2 ? std::ptrdiff_t(random() % 4000) - 2000 : 0;
        PixelSpan span;
        span.begin = int(random() % kRow);
        span.end = span.begin + 1 + int(random() % unsigned(kRow - span.begin));
        // Edges that cross the row near its ends, and what of it they certainly cover.
        const EdgeRow edges{
            {float(number(0.1, 1)), float(number(-1, -0.1)), float(number(-0.02, 0.02)), float(number(-0.02, 0.02))},
            {float(number(-5, 5)), float(number(0, 60)), float(number(0, 4)), float(number(0, 4))}};
        while (span.fullBegin < kRow && edges.coverage(span.fullBegin) < 255u)
            ++span.fullBegin;
        span.fullEnd = span.fullBegin;
        while (span.fullEnd < kRow && edges.coverage(span.fullEnd) == 255u)
            ++span.fullEnd;
        picture.source.isOpaque = i % 3 == 0;
        const unsigned opacity = i % 7 ? 255u : unsigned(random() % 256);
        std::vector<QRgb> ground(kRow);
        for (QRgb& pixel : ground)
            pixel = qPremultiply(QRgb(random()));
        std::vector<QRgb> row = ground, plain = ground;
        drawSamples(row.data(), span, picture.source, place, edges, opacity);
        drawSamplesPlainly(plain.data(), span, picture.source, place, edges, opacity);
        CAPTURE(i);
        REQUIRE(row == plain);
        REQUIRE(std::equal(row.begin(), row.begin() + span.begin, ground.begin()));
        REQUIRE(std::equal(row.begin() + span.end, row.end(), ground.begin() + span.end));
        // A row that begins later.
        const int later = int(random() % unsigned(span.end - span.begin));
        place.x += later * place.stepX;
        place.y += later * place.stepY;
        span.begin += later;
        std::vector<QRgb> rest = ground;
        drawSamples(rest.data(), span, picture.source, place, edges, opacity);
        REQUIRE(std::equal(rest.begin() + span.begin, rest.end(), row.begin() + span.begin));
    }
}

TEST_CASE("pixel sampling: pixels are drawn by their share of the edges, and by the opacity")
{
    std::mt19937 random(6);
    SampledPicture picture(random);
    picture.source.isOpaque = true;
    for (QRgb& pixel : picture.pixels)
        pixel = qRgb(200, 100, 40);
    std::vector<QRgb> row(32, 0u);
    // From column 4.5 to column 12.25.
    const EdgeRow edges{{1.f, -1.f, 0.f, 0.f}, {-3.5f, 12.25f, 1.f, 1.f}};
    drawSamples(row.data(), {3, 14, 5, 12}, picture.source, {place(2), place(2), place(1), 0}, edges, 255u);
    CHECK(qAlpha(row[3]) == 0);
    CHECK(qAlpha(row[4]) == 128);
    CHECK(qRed(row[4]) == 100);
    CHECK(row[5] == qRgb(200, 100, 40));
    CHECK(row[11] == qRgb(200, 100, 40));
    CHECK(qAlpha(row[12]) == 64);
    CHECK(qAlpha(row[13]) == 0);
    std::fill(row.begin(), row.end(), qRgb(0, 0, 0));
    drawSamples(row.data(), {3, 14, 5, 12}, picture.source, {place(2), place(2), place(1), 0}, edges, 51u);
    CHECK(row[8] == qRgb(40, 20, 8));
}
