#include <vellum/convert/rgba64_p.h>

#include <smmintrin.h>

#include <cstring>

namespace {

/// Two pixels to 8-bit channels in 16-bit lanes. The addition saturates, which changes nothing:
/// all sums from 65408 on become 255.
__m128i narrowed(__m128i channels)
{
    const __m128i sum = _mm_adds_epu16(channels, _mm_set1_epi16(128));
    return _mm_srli_epi16(_mm_sub_epi16(sum, _mm_srli_epi16(sum, 8)), 8);
}

__m128i load(const unsigned char *p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

} // namespace

void vellum::convert::narrowRgba64Sse41(unsigned char *out, const unsigned char *in, int width)
{
    const __m128i toBgra = _mm_setr_epi8(2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15);
    int x = 0;
    for (; x + 4 <= width; x += 4, in += 32, out += 16) {
        const __m128i rgba = _mm_packus_epi16(narrowed(load(in)), narrowed(load(in + 16)));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(rgba, toBgra));
    }
    for (; x < width; ++x, in += 8, out += 4) {
        const __m128i pixel = narrowed(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(in)));
        const __m128i bgra = _mm_shuffle_epi8(_mm_packus_epi16(pixel, pixel), toBgra);
        const int pixelOut = _mm_cvtsi128_si32(bgra);
        std::memcpy(out, &pixelOut, sizeof pixelOut);
    }
}
