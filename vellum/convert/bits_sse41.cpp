#include <vellum/convert/bits_p.h>

#include <smmintrin.h>

namespace {

/// The two halves of every byte are reversed by look-up and change places.
__m128i reversed(__m128i v)
{
    const __m128i low = _mm_setr_epi8(0x0, 0x8, 0x4, 0xc, 0x2, 0xa, 0x6, 0xe, 0x1, 0x9, 0x5, 0xd,
                                      0x3, 0xb, 0x7, 0xf);
    const __m128i nibble = _mm_set1_epi8(0x0f);
    const __m128i fromLow = _mm_shuffle_epi8(low, _mm_and_si128(v, nibble));
    const __m128i fromHigh = _mm_shuffle_epi8(low, _mm_and_si128(_mm_srli_epi16(v, 4), nibble));
    return _mm_or_si128(_mm_slli_epi16(fromLow, 4), fromHigh);
}

} // namespace

void vellum::convert::reverseBitsSse41(unsigned char *out, const unsigned char *in,
                                       std::size_t bytes)
{
    std::size_t i = 0;
    for (; i + 16 <= bytes; i += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + i));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), reversed(v));
    }
    for (; i < bytes; ++i)
        out[i] = static_cast<unsigned char>(_mm_cvtsi128_si32(reversed(_mm_cvtsi32_si128(in[i]))));
}
