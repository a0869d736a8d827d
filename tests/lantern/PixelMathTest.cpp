#include "PixelMath.hpp"

#include <doctest/doctest.h>

#include <random>
#include <vector>

using namespace Lantern;

namespace
{
/// Premultiplied; some are opaque, some empty, often several in a row.
std::vector<QRgb> pixels(std::mt19937& random, int count)
{
    std::vector<QRgb> result;
    while (int(result.size()) < count) {
        const unsigned kind = random() % 3;
        for (unsigned run = random() % 9; run > 0; --run) {
            const unsigned alpha = kind == 0 ? 255u : kind == 1 ? 0u : random() % 256u;
            const auto component = [&] { return alpha == 0 ? 0u : random() % (alpha + 1); };
            result.push_back(alpha << 24 | component() << 16 | component() << 8 | component());
        }
    }
    result.resize(std::size_t(count));
    return result;
}
}

TEST_CASE("pixel math: an opaque pixel replaces what is below, an empty one leaves it, half of one mixes")
{
    for (unsigned i = 0; i < 256; ++i) {
        const QRgb ground = 0xff000000u | i << 16 | (255 - i) << 8 | i / 2;
        CHECK(blendedPixel(0xff102030u, ground) == 0xff102030u);
        CHECK(blendedPixel(0u, ground) == ground);
        CHECK(scaledPixel(ground, 255u) == ground);
        CHECK(scaledPixel(ground, 0u) == 0u);
        CHECK(mixedPixel(ground, 0xff102030u, 0u) == ground);
        CHECK(mixedPixel(ground, 0xff102030u, 256u) == 0xff102030u);
    }
    CHECK(blendedPixel(0x80800000u, 0xff0000ffu) == 0xff80007fu);
    CHECK(scaledPixel(0xff804020u, 128u) == 0x80402010u);
    CHECK(mixedPixel(0xff000000u, 0xff804020u, 128u) == 0xff402010u);
}

TEST_CASE("pixel math: a row has the values of its pixels computed one by one, however long it is")
{
    std::mt19937 random(11);
    for (int count = 0; count < 90; ++count) {
        const std::vector<QRgb> source = pixels(random, count);
        const std::vector<QRgb> ground = pixels(random, count);
        const unsigned opacity = random() % 256u;
        std::vector<QRgb> blended = ground, faint = ground, expected = ground, expectedFaint = ground;
        blendRow(blended.data(), source.data(), count);
        blendRow(faint.data(), source.data(), count, opacity);
        for (std::size_t i = 0; i < source.size(); ++i) {
            expected[i] = blendedPixel(source[i], ground[i]);
            expectedFaint[i] = blendedPixel(scaledPixel(source[i], opacity), ground[i]);
        }
        CHECK(blended == expected);
        CHECK(faint == expectedFaint);
    }
}

TEST_CASE("pixel math: a run of opaque pixels ends at the first that is not, or at the end")
{
    for (int length = 0; length < 20; ++length) {
        std::vector<QRgb> row(24, 0xff123456u);
        CHECK(opaqueUntil(row.data(), 2, 2 + length) == 2 + length);
        row[std::size_t(2 + length)] = 0xfe123456u;
        CHECK(opaqueUntil(row.data(), 2, 24) == 2 + length);
        CHECK(opaqueUntil(row.data(), 2, 2 + length) == 2 + length);
    }
}
