#include <vellum/convert/expand_p.h>

#include <smmintrin.h>

namespace {

__m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }

/// Sixteen pixels a step: 48 bytes in, 64 bytes out, nothing beyond either.
/// \return the pixels done
int expand(unsigned char *out, const unsigned char *in, int width, __m128i order)
{
    const __m128i opaque = _mm_set1_epi32(static_cast<int>(0xff000000U));
    const auto store = [&](int i, __m128i pixels) {
        const __m128i expanded = _mm_or_si128(_mm_shuffle_epi8(pixels, order), opaque);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out) + i, expanded);
    };
    int x = 0;
    for (; x + 16 <= width; x += 16, in += 48, out += 64) {
        const __m128i a = load(in);
        const __m128i b = load(in + 16);
        const __m128i c = load(in + 32);
        store(0, a);
        store(1, _mm_alignr_epi8(b, a, 12));
        store(2, _mm_alignr_epi8(c, b, 8));
        store(3, _mm_srli_si128(c, 4));
    }
    return x;
}

} // namespace

namespace vellum::convert {

void expandRgbSse41(unsigned char *out, const unsigned char *in, int width)
{
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    const int done = expand(out, in, width, order);
    expandRgbPortable(out + 4LL * done, in + 3LL * done, width - done);
}

void expandBgrSse41(unsigned char *out, const unsigned char *in, int width)
{
    const __m128i order = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const int done = expand(out, in, width, order);
    expandBgrPortable(out + 4LL * done, in + 3LL * done, width - done);
}

} // namespace vellum::convert
