#include "ShadowPlaces.hpp"

#include "PixelMath.hpp"
#include "WidePixels.hpp"

#include <QTransform>

#include <cmath>

namespace Lantern
{
namespace
{
/// What is drawn of a pixel that is covered by so much, 0..255.
unsigned drawnShare(unsigned covered)
{
    return (covered * 255u + ShadowPlaces::kFull / 2) / ShadowPlaces::kFull;
}
}

ShadowPlaces::ShadowPlaces(const ShadowMask& mask, const QTransform& toLocal, const Vecta::Rect& box)
    : m_values(mask.values()), m_stride(mask.columns())
{
    // Beyond the limit, that of a box too small to be seen, places lie outside of the mask; sums of them do not overflow.
    const auto fixed = [perUnit = mask.samplesPerUnit()](double units) {
        constexpr double kLimit = double(std::int64_t(1) << 45);
        return std::int64_t(std::llround(std::clamp(units * perUnit * double(1 << kBits), -kLimit, kLimit)));
    };
    const auto axis = [&](double perColumn, double perRow, double offset, double length, double maskLength, int samples) {
        // Counted at the middle of a pixel.
        return Axis{fixed(perColumn),
                    fixed(perRow),
                    fixed(offset + (perColumn + perRow) / 2.0),
                    fixed(length / 2.0),
                    fixed(maskLength / 2.0),
                    fixed(length - maskLength),
                    fixed(mask.reach()),
                    std::uint64_t(samples - 1) << kBits,
                    std::int64_t(samples - 2)};
    };
    m_across = axis(toLocal.m11(), toLocal.m21(), toLocal.dx() - double(box.x), double(box.width), mask.width(), mask.columns());
    m_along = axis(toLocal.m12(), toLocal.m22(), toLocal.dy() - double(box.y), double(box.height), mask.height(), mask.rows());
}

void ShadowPlaces::drawPlainly(QRgb* row, int y, int begin, int end, QRgb pixel) const
{
    for (int column = begin; column < end; ++column)
        if (const unsigned share = drawnShare(at(column, y)); share > 0)
            row[column] = blendedPixel(scaledPixel(pixel, share), row[column]);
}

#ifdef LANTERN_HAS_AVX2
/// Eight columns of a row at a time, with the values of drawPlainly.
struct ShadowPlaces::Wide
{
    struct Places
    {
        __m256i place; ///< of eight columns
        __m256i step;  ///< to the next eight
        __m256i half, maskHalf, longer, reach, end, last;
    };
    /// Samples before the places, how far the places are from them, in 1 / 256, and where there is no sample.
    struct Samples
    {
        __m256i number, fraction, isOutside;
    };

    LANTERN_AVX2 static Places placesOf(const Axis& axis, int column, int row)
    {
        const auto all = [](std::int64_t value) LANTERN_AVX2 { return _mm256_set1_epi32(int(value)); };
        const auto step = int(axis.perColumn);
        return {placesFrom(int(axis.placeOf(column, row)), step),
                _mm256_set1_epi32(int(unsigned(step) * unsigned(kAtOnce))),
                all(axis.half),
                all(axis.maskHalf),
                all(axis.longer),
                all(axis.reach),
                all(std::int64_t(axis.end)),
                all(axis.last)};
    }

    LANTERN_AVX2 static Samples next(Places& places)
    {
        const __m256i place = places.place;
        places.place = _mm256_add_epi32(place, places.step);
        const __m256i before = _mm256_min_epi32(place, places.maskHalf);
        const __m256i after = _mm256_max_epi32(_mm256_sub_epi32(place, places.longer), places.maskHalf);
        const __m256i isBefore = _mm256_cmpgt_epi32(places.half, place);
        const __m256i inMask = _mm256_add_epi32(places.reach, _mm256_blendv_epi8(after, before, isBefore));
        const __m256i inside = _mm256_min_epi32(_mm256_max_epi32(inMask, _mm256_setzero_si256()), places.end);
        const __m256i number = _mm256_min_epi32(_mm256_srli_epi32(inside, kBits), places.last);
        const __m256i fraction = _mm256_srli_epi32(_mm256_sub_epi32(inside, _mm256_slli_epi32(number, kBits)), kBits - 8);
        return {number, fraction, _mm256_xor_si256(_mm256_cmpeq_epi32(inside, inMask), _mm256_set1_epi32(-1))};
    }

    /// Two neighbouring samples mixed, times 256. `pairs`: the left ones in the lower 16 bits.
    LANTERN_AVX2 static __m256i mixed(__m256i pairs, __m256i fraction)
    {
        const __m256i left = _mm256_and_si256(pairs, _mm256_set1_epi32(0xffff));
        const __m256i change = _mm256_sub_epi32(_mm256_srli_epi32(pairs, 16), left);
        return _mm256_add_epi32(_mm256_slli_epi32(left, 8), _mm256_mullo_epi32(change, fraction));
    }

    /// As drawnShare, of eight places.
    LANTERN_AVX2 static __m256i shares(const ShadowPlaces& shadow, const Samples& across, const Samples& along)
    {
        const __m256i stride = _mm256_set1_epi32(int(shadow.m_stride));
        const __m256i index = _mm256_add_epi32(_mm256_mullo_epi32(along.number, stride), across.number);
        // Each gathers two neighbours of 16 bits.
        const auto* const upper = reinterpret_cast<const int*>(shadow.m_values);                   // NOLINT: what gathering takes
        const auto* const lower = reinterpret_cast<const int*>(shadow.m_values + shadow.m_stride); // NOLINT
        const __m256i above = mixed(_mm256_i32gather_epi32(upper, index, 2), across.fraction);
        const __m256i below = mixed(_mm256_i32gather_epi32(lower, index, 2), across.fraction);
        const __m256i change = _mm256_mullo_epi32(_mm256_sub_epi32(below, above), along.fraction);
        const __m256i covered = _mm256_srli_epi32(_mm256_add_epi32(_mm256_slli_epi32(above, 8), change), 16);
        // Divided by 65535 without a division.
        const __m256i product =
            _mm256_add_epi32(_mm256_sub_epi32(_mm256_slli_epi32(covered, 8), covered), _mm256_set1_epi32(int(kFull / 2) + 1));
        const __m256i share = _mm256_srli_epi32(_mm256_add_epi32(product, _mm256_srli_epi32(product, 16)), 16);
        return _mm256_andnot_si256(_mm256_or_si256(across.isOutside, along.isOutside), share);
    }

    LANTERN_AVX2 static void draw(const ShadowPlaces& shadow, QRgb* row, int y, int begin, int end, QRgb pixel)
    {
        Places across = placesOf(shadow.m_across, begin, y);
        Places along = placesOf(shadow.m_along, begin, y);
        const __m256i eight = _mm256_set1_epi32(int(pixel));
        for (int column = begin; column < end; column += kAtOnce) {
            const Samples left = next(across);
            const __m256i share = shares(shadow, left, next(along));
            if (_mm256_testz_si256(share, share))
                continue;
            const __m256i source = scaledPixels(eight, _mm256_or_si256(share, _mm256_slli_epi32(share, 16)));
            // Pixels after the end belong to others.
            const __m256i isWanted = _mm256_cmpgt_epi32(_mm256_set1_epi32(end), placesFrom(column, 1));
            auto* const pixels = reinterpret_cast<int*>(row + column);
            _mm256_maskstore_epi32(pixels, isWanted, blendedPixels(source, _mm256_maskload_epi32(pixels, isWanted)));
        }
    }

    /// Whether the places of all columns and their sums have 32 bits.
    static bool canDraw(const Axis& axis, int y, int begin, int end)
    {
        constexpr std::int64_t kMost = std::int64_t(1) << 29;
        const auto isNear = [](std::int64_t value) { return value > -kMost && value < kMost; };
        return isNear(axis.placeOf(begin, y)) && isNear(axis.placeOf(end - 1, y)) && isNear(axis.half) && isNear(axis.longer)
            && isNear(axis.reach) && isNear(std::int64_t(axis.end));
    }
};
#endif

void ShadowPlaces::draw(QRgb* row, int y, int begin, int end, QRgb pixel) const
{
#ifdef LANTERN_HAS_AVX2
    if (begin < end && hasWidePixels() && Wide::canDraw(m_across, y, begin, end) && Wide::canDraw(m_along, y, begin, end)) {
        Wide::draw(*this, row, y, begin, end, pixel);
        return;
    }
#endif
    drawPlainly(row, y, begin, end, pixel);
}
}
