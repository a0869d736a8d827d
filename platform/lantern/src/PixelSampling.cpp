#include "PixelSampling.hpp"

#include "PixelMath.hpp"
#include "WidePixels.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Lantern
{
namespace
{
/// The lower pixel's largest share, in 1 / 32768.
constexpr int kMostDown = 32767;

#ifdef LANTERN_HAS_AVX2
/// Eight places in one direction: the pixel before each, and how far it is to the one after it, in 1 / 65536.
struct Places
{
    __m256i pixel, fraction;
};

/// The places of one direction that lie in the part.
struct Limits
{
    __m256i first, last, lastPixel;
};

LANTERN_AVX2 inline Limits limitsOf(int first, int last)
{
    return {_mm256_set1_epi32(first << kPlaceBits), _mm256_set1_epi32(last << kPlaceBits), _mm256_set1_epi32(last - 1)};
}

LANTERN_AVX2 inline Places placesIn(__m256i wanted, const Limits& limits)
{
    const __m256i place = _mm256_min_epi32(_mm256_max_epi32(wanted, limits.first), limits.last);
    const __m256i pixel = _mm256_min_epi32(_mm256_srai_epi32(place, kPlaceBits), limits.lastPixel);
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
LANTERN_AVX2 inline __m256i fourSamples(const QRgb* upperBits, const QRgb* lowerBits, __m128i index, __m256i across, __m256i down,
                                        __m256i order)
{
    const __m256i right = _mm256_permutevar8x32_epi32(across, order);
    const __m256i upper = mixedNeighbours(upperBits, index, right);
    const __m256i lower = mixedNeighbours(lowerBits, index, right);
    const __m256i change = _mm256_mulhrs_epi16(_mm256_sub_epi16(lower, upper), _mm256_permutevar8x32_epi32(down, order));
    return _mm256_mulhrs_epi16(_mm256_add_epi16(upper, change), _mm256_set1_epi16(256));
}

/// How much of eight pixels is inside of one edge, in 0..1.
LANTERN_AVX2 inline __m256 insideOfEdge(const EdgeRow& edges, std::size_t i, __m256 column)
{
    const __m256 way = _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(edges.perX[i]), column), _mm256_set1_ps(edges.atColumn0[i]));
    return _mm256_min_ps(_mm256_max_ps(way, _mm256_setzero_ps()), _mm256_set1_ps(1.f));
}

/// As above, between the edge and the one parallel to it.
LANTERN_AVX2 inline __m256 insideOfPair(const EdgeRow& edges, std::size_t i, __m256 column)
{
    const __m256 both = _mm256_add_ps(insideOfEdge(edges, i, column), insideOfEdge(edges, i + 1, column));
    return _mm256_max_ps(_mm256_setzero_ps(), _mm256_sub_ps(both, _mm256_set1_ps(1.f)));
}

/// As EdgeRow::coverage, of eight pixels from column `x` on, in each 16 bits.
LANTERN_AVX2 inline __m256i coverages(const EdgeRow& edges, int x)
{
    const __m256 column = _mm256_cvtepi32_ps(placesFrom(x, 1));
    const __m256 share = _mm256_mul_ps(insideOfPair(edges, 0, column), insideOfPair(edges, 2, column));
    const __m256i whole = _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(share, _mm256_set1_ps(255.f)), _mm256_set1_ps(0.5f)));
    return _mm256_or_si256(whole, _mm256_slli_epi32(whole, 16));
}

template <bool isFetching>
LANTERN_AVX2 void drawSamplesWidely(QRgb* row, const PixelSpan& span, const SourcePixels& source, const SourcePlace& place,
                                    const EdgeRow& edges, unsigned opacity)
{
    // Packing two times four samples leaves the first halves of both before the second ones.
    const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
    const __m256i firstFour = _mm256_setr_epi32(0, 0, 1, 1, 4, 4, 5, 5);
    const __m256i lastFour = _mm256_setr_epi32(2, 2, 3, 3, 6, 6, 7, 7);
    const __m256i stride = _mm256_set1_epi32(source.stride);
    const __m256i middle = _mm256_set1_epi8(-128);
    const __m256i alpha = _mm256_set1_epi32(source.isOpaque ? int(0xff000000u) : 0);
    const __m256i stepX = _mm256_set1_epi32(int(unsigned(place.stepX) * unsigned(kAtOnce)));
    const __m256i stepY = _mm256_set1_epi32(int(unsigned(place.stepY) * unsigned(kAtOnce)));
    // Copies: what is written to the row could be a part of `source` or `span`, as far as the compiler can see.
    const QRgb* const upperBits = source.bits;
    const QRgb* const lowerBits = source.bits + source.stride;
    const Limits limitsX = limitsOf(source.left, source.right);
    const Limits limitsY = limitsOf(source.top, source.bottom);
    const int end = span.end, fullBegin = span.fullBegin, fullEnd = std::min(span.fullEnd, end);
    const bool isSolid = source.isOpaque && opacity == 255u;
    [[maybe_unused]] const auto aheadBytes = std::uintptr_t(place.ahead) * sizeof(QRgb);
    __m256i nextX = placesFrom(place.x, place.stepX);
    __m256i nextY = placesFrom(place.y, place.stepY);
    for (int column = span.begin; column < end; column += kAtOnce) {
        const Places x = placesIn(nextX, limitsX);
        const Places y = placesIn(nextY, limitsY);
        const __m256i across = sharesAcross(x.fraction);
        const __m256i down = sharesDown(y.fraction);
        const __m256i index = _mm256_permutevar8x32_epi32(_mm256_add_epi32(_mm256_mullo_epi32(y.pixel, stride), x.pixel), order);
        // One place for eight pixels: the rows between here and there have fetched what lies beside it.
        if constexpr (isFetching)
            _mm_prefetch(reinterpret_cast<const char*>(std::uintptr_t(upperBits + _mm256_cvtsi256_si32(index)) + aheadBytes),
                         _MM_HINT_T0);
        const __m256i first = fourSamples(upperBits, lowerBits, _mm256_castsi256_si128(index), across, down, firstFour);
        const __m256i last = fourSamples(upperBits, lowerBits, _mm256_extracti128_si256(index, 1), across, down, lastFour);
        __m256i samples = _mm256_or_si256(alpha, _mm256_xor_si256(_mm256_packs_epi16(first, last), middle));
        nextX = _mm256_add_epi32(nextX, stepX);
        nextY = _mm256_add_epi32(nextY, stepY);
        const bool isFull = fullBegin <= column && column + kAtOnce <= fullEnd;
        if (isFull && isSolid) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + column), samples);
            continue;
        }
        if (!isFull)
            samples = scaledPixels(samples, coverages(edges, column));
        if (opacity != 255u)
            samples = scaledPixels(samples, _mm256_set1_epi16(short(opacity)));
        // Pixels after the end belong to others.
        const __m256i isWanted = _mm256_cmpgt_epi32(_mm256_set1_epi32(end), placesFrom(column, 1));
        auto* const pixels = reinterpret_cast<int*>(row + column);
        _mm256_maskstore_epi32(pixels, isWanted, blendedPixels(samples, _mm256_maskload_epi32(pixels, isWanted)));
    }
}
#endif
}

void drawSamplesPlainly(QRgb* row, const PixelSpan& span, const SourcePixels& source, const SourcePlace& place,
                        const EdgeRow& edges, unsigned opacity)
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
    for (int column = span.begin; column < span.end; ++column) {
        const Place x = placeIn(at(place.x, place.stepX, column - span.begin), source.left, source.right);
        const Place y = placeIn(at(place.y, place.stepY, column - span.begin), source.top, source.bottom);
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
        if (column < span.fullBegin || column >= span.fullEnd)
            sample = scaledPixel(sample, edges.coverage(column));
        row[column] = blendedPixel(scaledPixel(sample, opacity), row[column]);
    }
}

void drawSamples(QRgb* row, const PixelSpan& span, const SourcePixels& source, const SourcePlace& place, const EdgeRow& edges,
                 unsigned opacity)
{
#ifdef LANTERN_HAS_AVX2
    if (hasWidePixels()) {
        if (place.ahead != 0)
            drawSamplesWidely<true>(row, span, source, place, edges, opacity);
        else
            drawSamplesWidely<false>(row, span, source, place, edges, opacity);
        return;
    }
#endif
    drawSamplesPlainly(row, span, source, place, edges, opacity);
}
}
