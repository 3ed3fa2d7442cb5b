#include <vellum/convert/premultiply_p.h>

#include <smmintrin.h>

namespace {

/// Two pixels in 16-bit lanes. The sum for 255 * 255 is 65407, so nothing overflows.
__m128i premultiplied(__m128i channels)
{
    const __m128i alphas = _mm_shuffle_epi8(
        channels, _mm_setr_epi8(6, -1, 6, -1, 6, -1, -1, -1, 14, -1, 14, -1, 14, -1, -1, -1));
    // 255 in the lane of alpha itself: t is then divided exactly.
    const __m128i factors = _mm_or_si128(alphas, _mm_set_epi16(255, 0, 0, 0, 255, 0, 0, 0));
    const __m128i t = _mm_mullo_epi16(channels, factors);
    const __m128i sum = _mm_add_epi16(_mm_add_epi16(t, _mm_srli_epi16(t, 8)), _mm_set1_epi16(128));
    return _mm_srli_epi16(sum, 8);
}

} // namespace

void vellum::convert::premultiplySse41(unsigned char *out, const unsigned char *in, int width)
{
    const __m128i zero = _mm_setzero_si128();
    int x = 0;
    for (; x + 4 <= width; x += 4, in += 16, out += 16) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        const __m128i low = premultiplied(_mm_unpacklo_epi8(pixels, zero));
        const __m128i high = premultiplied(_mm_unpackhi_epi8(pixels, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(low, high));
    }
    premultiplyPortable(out, in, width - x);
}
