#include "PixelMath.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Lantern
{
namespace
{
#ifdef __SSE2__
// Four pixels at a time, with the values of the functions above.

__m128i load(const QRgb* pixels)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
}

void store(QRgb* pixels, __m128i four)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), four);
}

/// `factor`: in each 16 bits.
__m128i scaled(__m128i four, __m128i factor)
{
    const __m128i mask = _mm_set1_epi32(0xff00ff);
    const __m128i half = _mm_set1_epi16(0x80);
    __m128i even = _mm_mullo_epi16(_mm_and_si128(four, mask), factor);
    __m128i odd = _mm_mullo_epi16(_mm_srli_epi16(four, 8), factor);
    even = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(even, _mm_srli_epi16(even, 8)), half), 8);
    odd = _mm_add_epi16(_mm_add_epi16(odd, _mm_srli_epi16(odd, 8)), half);
    return _mm_or_si128(even, _mm_andnot_si128(mask, odd));
}

__m128i blended(__m128i source, __m128i ground)
{
    const __m128i rest = _mm_sub_epi32(_mm_set1_epi32(255), _mm_srli_epi32(source, 24));
    return _mm_add_epi8(source, scaled(ground, _mm_or_si128(rest, _mm_slli_epi32(rest, 16))));
}

bool areOpaque(__m128i four)
{
    const __m128i alpha = _mm_set1_epi32(int(0xff000000u));
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(four, alpha), alpha)) == 0xffff;
}

bool areEmpty(__m128i four)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi32(four, _mm_setzero_si128())) == 0xffff;
}
#endif
}

void blendRow(QRgb* ground, const QRgb* source, int count)
{
    int i = 0;
#ifdef __SSE2__
    for (; i + 4 <= count; i += 4) {
        const __m128i four = load(source + i);
        if (areOpaque(four))
            store(ground + i, four);
        else if (!areEmpty(four))
            store(ground + i, blended(four, load(ground + i)));
    }
#endif
    for (; i < count; ++i)
        ground[i] = blendedPixel(source[i], ground[i]);
}

void blendRow(QRgb* ground, const QRgb* source, int count, unsigned opacity)
{
    int i = 0;
#ifdef __SSE2__
    const __m128i factor = _mm_set1_epi16(short(opacity));
    for (; i + 4 <= count; i += 4)
        store(ground + i, blended(scaled(load(source + i), factor), load(ground + i)));
#endif
    for (; i < count; ++i)
        ground[i] = blendedPixel(scaledPixel(source[i], opacity), ground[i]);
}

int opaqueUntil(const QRgb* row, int begin, int end)
{
    int i = begin;
#ifdef __SSE2__
    while (i + 16 <= end
           && areOpaque(_mm_and_si128(_mm_and_si128(load(row + i), load(row + i + 4)),
                                      _mm_and_si128(load(row + i + 8), load(row + i + 12)))))
        i += 16;
    while (i + 4 <= end && areOpaque(load(row + i)))
        i += 4;
#endif
    while (i < end && row[i] >> 24 == 255u)
        ++i;
    return i;
}
}
