#pragma once

#include <QRgb>

#if defined(__x86_64__) && defined(__GNUC__)
#define LANTERN_HAS_AVX2
#define LANTERN_AVX2 __attribute__((target("avx2")))
#include <immintrin.h>

namespace Lantern
{
// Eight pixels at a time, with the values of PixelMath.hpp. Call where hasWidePixels() is true. Any thread.

/// So many pixels are drawn at once.
inline constexpr int kAtOnce = 8;

/// Whether this processor has the registers.
[[nodiscard]] inline bool hasWidePixels()
{
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

/// `first`, `first` + `step` and so on; what overflows wraps around.
LANTERN_AVX2 inline __m256i placesFrom(int first, int step)
{
    const __m256i numbers = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_mullo_epi32(_mm256_set1_epi32(step), numbers));
}

/// As scaledPixel. `factor`: in each 16 bits.
LANTERN_AVX2 inline __m256i scaledPixels(__m256i eight, __m256i factor)
{
    const __m256i mask = _mm256_set1_epi32(0xff00ff);
    const __m256i half = _mm256_set1_epi16(0x80);
    __m256i even = _mm256_mullo_epi16(_mm256_and_si256(eight, mask), factor);
    __m256i odd = _mm256_mullo_epi16(_mm256_srli_epi16(eight, 8), factor);
    even = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(even, _mm256_srli_epi16(even, 8)), half), 8);
    odd = _mm256_add_epi16(_mm256_add_epi16(odd, _mm256_srli_epi16(odd, 8)), half);
    return _mm256_or_si256(even, _mm256_andnot_si256(mask, odd));
}

/// As blendedPixel.
LANTERN_AVX2 inline __m256i blendedPixels(__m256i source, __m256i ground)
{
    const __m256i rest = _mm256_sub_epi32(_mm256_set1_epi32(255), _mm256_srli_epi32(source, 24));
    return _mm256_add_epi8(source, scaledPixels(ground, _mm256_or_si256(rest, _mm256_slli_epi32(rest, 16))));
}
}
#endif
