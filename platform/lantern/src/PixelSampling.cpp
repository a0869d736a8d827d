#include "PixelSampling.hpp"

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
/// The lower pixel's largest share, in 1 / 32768.
constexpr int kMostDown = 32767;

#ifdef LANTERN_HAS_AVX2
#define LANTERN_AVX2 __attribute__((target("avx2")))

/// Eight places in one direction: the pixel before each, and how far it is to the one after it, in 1 / 65536.
struct Places
{
    __m256i pixel, fraction;
};

LANTERN_AVX2 inline Places placesIn(__m256i wanted, int first, int last)
{
    const __m256i place =
        _mm256_min_epi32(_mm256_max_epi32(wanted, _mm256_set1_epi32(first << kPlaceBits)), _mm256_set1_epi32(last << kPlaceBits));
    const __m256i pixel = _mm256_min_epi32(_mm256_srai_epi32(place, kPlaceBits), _mm256_set1_epi32(last - 1));
    return {pixel, _mm256_sub_epi32(place, _mm256_slli_epi32(pixel, kPlaceBits))};
}

/// The shares of the left and of the right pixel, 128 together, in turns in each 8 bits.
LANTERN_AVX2 inline __m256i sharesAcross(__m256i fraction)
{
    const __m256i right = _mm256_srli_epi32(_mm256_add_epi32(fraction, _mm256_set1_epi32(256)), 9);
    const __m256i both = _mm256_add_epi32(_mm256_sub_epi32(_mm256_slli_epi32(right, 8), right), _mm256_set1_epi32(128));
    return _mm256_or_si256(both, _mm256_slli_epi32(both, 16));
}

/// The share of the lower pixel, 0..32767, in each 16 bits.
LANTERN_AVX2 inline __m256i sharesDown(__m256i fraction)
{
    const __m256i lower = _mm256_min_epi32(_mm256_srli_epi32(fraction, 1), _mm256_set1_epi32(kMostDown));
    return _mm256_or_si256(lower, _mm256_slli_epi32(lower, 16));
}

/// Two neighbours of each of four pixels, mixed: each component less 128, times 128. `index`: of the left ones.
LANTERN_AVX2 inline __m256i mixedNeighbours(const QRgb* bits, __m128i index, __m256i shares)
{
    const __m256i inTurns = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15, 0, 4, 1, 5, 2, 6, 3, 7, 8, 12,
                                             9, 13, 10, 14, 11, 15);
    const auto* const pairs = reinterpret_cast<const long long*>(bits); // NOLINT: what gathering takes
    const __m256i components = _mm256_shuffle_epi8(_mm256_i32gather_epi64(pairs, index, 4), inTurns);
    return _mm256_maddubs_epi16(shares, _mm256_xor_si256(components, _mm256_set1_epi8(-128)));
}

/// Four samples, each component less 128 in 16 bits. `order` picks the shares of the four out of eight, each twice.
LANTERN_AVX2 inline __m256i fourSamples(const SourcePixels& source, __m128i index, __m256i across, __m256i down, __m256i order)
{
    const __m256i right = _mm256_permutevar8x32_epi32(across, order);
    const __m256i upper = mixedNeighbours(source.bits, index, right);
    const __m256i lower = mixedNeighbours(source.bits + source.stride, index, right);
    const __m256i change = _mm256_mulhrs_epi16(_mm256_sub_epi16(lower, upper), _mm256_permutevar8x32_epi32(down, order));
    return _mm256_mulhrs_epi16(_mm256_add_epi16(upper, change), _mm256_set1_epi16(256));
}

LANTERN_AVX2 inline __m256i placesFrom(int first, int step)
{
    const __m256i numbers = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_mullo_epi32(_mm256_set1_epi32(step), numbers));
}

LANTERN_AVX2 void sampleRowWidely(QRgb* row, int count, const SourcePixels& source, const SourcePlace& place)
{
    // Packing two times four samples leaves the first halves of both before the second ones.
    const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
    const __m256i firstFour = _mm256_setr_epi32(0, 0, 1, 1, 4, 4, 5, 5);
    const __m256i lastFour = _mm256_setr_epi32(2, 2, 3, 3, 6, 6, 7, 7);
    const __m256i stride = _mm256_set1_epi32(source.stride);
    const __m256i middle = _mm256_set1_epi8(-128);
    const __m256i alpha = _mm256_set1_epi32(source.isOpaque ? int(0xff000000u) : 0);
    const __m256i stepX = _mm256_set1_epi32(int(unsigned(place.stepX) * unsigned(kSampledAtOnce)));
    const __m256i stepY = _mm256_set1_epi32(int(unsigned(place.stepY) * unsigned(kSampledAtOnce)));
    __m256i nextX = placesFrom(place.x, place.stepX);
    __m256i nextY = placesFrom(place.y, place.stepY);
    for (int i = 0; i < count; i += kSampledAtOnce) {
        const Places x = placesIn(nextX, source.left, source.right);
        const Places y = placesIn(nextY, source.top, source.bottom);
        const __m256i across = sharesAcross(x.fraction);
        const __m256i down = sharesDown(y.fraction);
        const __m256i index = _mm256_permutevar8x32_epi32(_mm256_add_epi32(_mm256_mullo_epi32(y.pixel, stride), x.pixel), order);
        const __m256i first = fourSamples(source, _mm256_castsi256_si128(index), across, down, firstFour);
        const __m256i last = fourSamples(source, _mm256_extracti128_si256(index, 1), across, down, lastFour);
        const __m256i samples = _mm256_xor_si256(_mm256_packs_epi16(first, last), middle);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + i), _mm256_or_si256(alpha, samples));
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
        int pixel, fraction;
    };
    const auto placeIn = [](int wanted, int first, int last) {
        const int inside = std::clamp(wanted, first << kPlaceBits, last << kPlaceBits);
        const int pixel = std::min(inside >> kPlaceBits, last - 1);
        return Place{pixel, inside - (pixel << kPlaceBits)};
    };
    const QRgb alpha = source.isOpaque ? 0xff000000u : 0u;
    for (int i = 0; i < count; ++i) {
        const Place x = placeIn(at(place.x, place.stepX, i), source.left, source.right);
        const Place y = placeIn(at(place.y, place.stepY, i), source.top, source.bottom);
        const int across = (x.fraction + 256) >> 9;
        const int down = std::min(y.fraction >> 1, kMostDown);
        const QRgb* const upper = source.bits + std::ptrdiff_t(y.pixel) * source.stride + x.pixel;
        const QRgb* const lower = upper + source.stride;
        QRgb sample = alpha;
        for (int shift = 0; shift < 32; shift += 8) {
            const auto mixed = [across, shift](const QRgb* pair) {
                return int(pair[0] >> shift & 255u) * (128 - across) + int(pair[1] >> shift & 255u) * across;
            };
            const int above = mixed(upper);
            sample |= QRgb((above + (((mixed(lower) - above) * down + 0x4000) >> 15) + 64) >> 7) << shift;
        }
        row[i] = sample;
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
