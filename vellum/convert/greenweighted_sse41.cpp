#include <vellum/convert/greenweighted_p.h>

#include <smmintrin.h>

namespace {

__m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }

/// Red and green of four pixels, as the low and high half of 32-bit lanes.
__m128i redsAndGreens(const unsigned char *pixels)
{
    return _mm_shuffle_epi8(
        load(pixels), _mm_setr_epi8(2, -1, 1, -1, 6, -1, 5, -1, 10, -1, 9, -1, 14, -1, 13, -1));
}

/// floor((299 R + 701 G) / 1000). The half keeps what is a multiple of 1000, which needs R = G,
/// from being rounded below it; all others are further from an integer than a float can err.
__m128i weighted(__m128i redGreen)
{
    const __m128i sum = _mm_madd_epi16(redGreen, _mm_set1_epi32(701 << 16 | 299));
    const __m128 shifted = _mm_add_ps(_mm_cvtepi32_ps(sum), _mm_set1_ps(0.5F));
    return _mm_cvttps_epi32(_mm_mul_ps(shifted, _mm_set1_ps(0.001F)));
}

/// All bits where red and green are alike.
__m128i alike(__m128i redGreen)
{
    return _mm_cmpeq_epi32(_mm_srli_epi32(redGreen, 16),
                           _mm_and_si128(redGreen, _mm_set1_epi32(0xffff)));
}

__m128i packed(__m128i a, __m128i b, __m128i c, __m128i d)
{
    return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
}

} // namespace

namespace vellum::convert {

void greenWeightedSse41(unsigned char *out, const unsigned char *pixels, int width,
                        const LowGreys &lowGreys)
{
    const __m128i lowBits = load(lowGreys); // of greys 0 to 127
    const __m128i highBits = load(lowGreys + 16);
    const __m128i bits = _mm_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
    int x = 0;
    for (; x + 16 <= width; x += 16, pixels += 64) {
        const __m128i a = redsAndGreens(pixels);
        const __m128i b = redsAndGreens(pixels + 16);
        const __m128i c = redsAndGreens(pixels + 32);
        const __m128i d = redsAndGreens(pixels + 48);
        __m128i grey = packed(weighted(a), weighted(b), weighted(c), weighted(d));
        const __m128i equal = _mm_packs_epi16(_mm_packs_epi32(alike(a), alike(b)),
                                              _mm_packs_epi32(alike(c), alike(d)));
        if (_mm_movemask_epi8(equal) != 0) {
            // Look up the bit of every grey, and take 1 off where it is set.
            const __m128i byteIndex = _mm_and_si128(_mm_srli_epi16(grey, 3), _mm_set1_epi8(0x0f));
            const __m128i byte = _mm_blendv_epi8(_mm_shuffle_epi8(lowBits, byteIndex),
                                                 _mm_shuffle_epi8(highBits, byteIndex), grey);
            const __m128i bit = _mm_shuffle_epi8(bits, _mm_and_si128(grey, _mm_set1_epi8(7)));
            const __m128i isLow = _mm_cmpeq_epi8(_mm_and_si128(byte, bit), bit);
            grey = _mm_add_epi8(grey, _mm_and_si128(isLow, equal));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + x), grey);
    }
    if (x < width)
        greenWeightedPortable(out + x, pixels, width - x);
}

} // namespace vellum::convert
