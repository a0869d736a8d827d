#include "PixelSampling.hpp"

#include "PixelMath.hpp"

#include <algorithm>
#include <cstddef>

#if defined(__x86_64__) && defined(__GNUC__)
#define LANTERN_HAS_AVX2
#include <immintrin.h>
#endif

namespace Lantern
{
namespace
{
#ifdef LANTERN_HAS_AVX2
#define LANTERN_AVX2 __attribute__((target("avx2")))

/// From `a` (fraction 0) to `b` (256), in each 16 bits.
LANTERN_AVX2 inline __m256i mixed(__m256i a, __m256i b, __m256i fraction, __m256i rest)
{
    return _mm256_srli_epi16(_mm256_add_epi16(_mm256_mullo_epi16(a, rest), _mm256_mullo_epi16(b, fraction)), 8);
}

/// Eight places in one direction: the pixel before each, and the share of the one after it, 0..256, in each 16 bits.
struct Places
{
    __m256i pixel, share;
};

LANTERN_AVX2 inline Places placesIn(__m256i wanted, int first, int last)
{
    const __m256i place =
        _mm256_min_epi32(_mm256_max_epi32(wanted, _mm256_set1_epi32(first << kPlaceBits)), _mm256_set1_epi32(last << kPlaceBits));
    const __m256i pixel = _mm256_min_epi32(_mm256_srai_epi32(place, kPlaceBits), _mm256_set1_epi32(last - 1));
    const __m256i share = _mm256_srli_epi32(_mm256_sub_epi32(place, _mm256_slli_epi32(pixel, kPlaceBits)), 8);
    return {pixel, _mm256_or_si256(share, _mm256_slli_epi32(share, 16))};
}

/// The even and the odd components of four pixels, each times its share of the horizontal mix, left and right in turns.
struct Pairs
{
    __m256i even, odd;
};

/// `index`: of the upper left pixel of each of the four. `order` picks their shares out of eight, each twice.
LANTERN_AVX2 inline Pairs mixedPairs(const SourcePixels& source, __m128i index, __m256i shareX, __m256i shareY, __m256i order)
{
    const __m256i mask = _mm256_set1_epi32(0xff00ff);
    const __m256i whole = _mm256_set1_epi16(256);
    const auto* const bits = reinterpret_cast<const long long*>(source.bits); // NOLINT: what gathering takes
    const auto* const below = reinterpret_cast<const long long*>(source.bits + source.stride);
    const __m256i upper = _mm256_i32gather_epi64(bits, index, 4);
    const __m256i lower = _mm256_i32gather_epi64(below, index, 4);
    const __m256i down = _mm256_permutevar8x32_epi32(shareY, order);
    const __m256i up = _mm256_sub_epi16(whole, down);
    const __m256i right = _mm256_permutevar8x32_epi32(shareX, order);
    const __m256i across = _mm256_blend_epi32(_mm256_sub_epi16(whole, right), right, 0xaa);
    const __m256i even = mixed(_mm256_and_si256(upper, mask), _mm256_and_si256(lower, mask), down, up);
    const __m256i odd = mixed(_mm256_srli_epi16(upper, 8), _mm256_srli_epi16(lower, 8), down, up);
    return {_mm256_mullo_epi16(even, across), _mm256_mullo_epi16(odd, across)};
}

LANTERN_AVX2 inline __m256i placesFrom(int first, int step)
{
    const __m256i numbers = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_mullo_epi32(_mm256_set1_epi32(step), numbers));
}

LANTERN_AVX2 void sampleRowWidely(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place)
{
    // Sums of neighbours come in this order out of two times four pairs.
    const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
    const __m256i firstFour = _mm256_setr_epi32(0, 0, 1, 1, 4, 4, 5, 5);
    const __m256i lastFour = _mm256_setr_epi32(2, 2, 3, 3, 6, 6, 7, 7);
    const __m256i stride = _mm256_set1_epi32(source.stride);
    const __m256i mask = _mm256_set1_epi32(0xff00ff);
    const __m256i alpha = _mm256_set1_epi32(source.isOpaque ? int(0xff000000u) : 0);
    const __m256i stepX = _mm256_set1_epi32(int(unsigned(place.stepX) * unsigned(kSampledAtOnce)));
    const __m256i stepY = _mm256_set1_epi32(int(unsigned(place.stepY) * unsigned(kSampledAtOnce)));
    __m256i nextX = placesFrom(place.x, place.stepX);
    __m256i nextY = placesFrom(place.y, place.stepY);
    for (int i = 0; i < count; i += kSampledAtOnce) {
        const Places x = placesIn(nextX, source.left, source.right);
        const Places y = placesIn(nextY, source.top, source.bottom);
        const __m256i index = _mm256_permutevar8x32_epi32(_mm256_add_epi32(_mm256_mullo_epi32(y.pixel, stride), x.pixel), order);
        const Pairs first = mixedPairs(source, _mm256_castsi256_si128(index), x.share, y.share, firstFour);
        const Pairs last = mixedPairs(source, _mm256_extracti128_si256(index, 1), x.share, y.share, lastFour);
        const __m256i even = _mm256_srli_epi16(_mm256_hadd_epi32(first.even, last.even), 8);
        const __m256i odd = _mm256_andnot_si256(mask, _mm256_hadd_epi32(first.odd, last.odd));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + i), _mm256_or_si256(alpha, _mm256_or_si256(even, odd)));
        nextX = _mm256_add_epi32(nextX, stepX);
        nextY = _mm256_add_epi32(nextY, stepY);
    }
}
#endif
}

void sampleRowPlainly(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place)
{
    const auto at = [](int first, int step, int i) { return int(unsigned(first) + unsigned(step) * unsigned(i)); };
    struct Place
    {
        int pixel;
        unsigned share;
    };
    const auto placeIn = [](int wanted, int first, int last) {
        const int inside = std::clamp(wanted, first << kPlaceBits, last << kPlaceBits);
        const int pixel = std::min(inside >> kPlaceBits, last - 1);
        return Place{pixel, unsigned(inside - (pixel << kPlaceBits)) >> 8};
    };
    const QRgb alpha = source.isOpaque ? 0xff000000u : 0u;
    for (int i = 0; i < count; ++i) {
        const Place x = placeIn(at(place.x, place.stepX, i), source.left, source.right);
        const Place y = placeIn(at(place.y, place.stepY, i), source.top, source.bottom);
        const QRgb* const upper = source.bits + std::ptrdiff_t(y.pixel) * source.stride + x.pixel;
        const QRgb* const lower = upper + source.stride;
        const QRgb left = mixedPixel(upper[0], lower[0], y.share);
        const QRgb right = mixedPixel(upper[1], lower[1], y.share);
        row[i] = mixedPixel(left, right, x.share) | alpha;
    }
}

void sampleRow(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place)
{
#ifdef LANTERN_HAS_AVX2
    static const bool isWide = __builtin_cpu_supports("avx2");
    if (isWide) {
        sampleRowWidely(row, count, source, place);
        return;
    }
#endif
    sampleRowPlainly(row, count, source, place);
}
}
