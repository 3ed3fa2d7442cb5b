#include <vellum/convert/cubekernels_p.h>

#include <smmintrin.h>

#include <cstring>

namespace {

__m128i load(const void *p) { return _mm_loadu_si128(static_cast<const __m128i *>(p)); }

void store(void *p, __m128i v) { _mm_storeu_si128(static_cast<__m128i *>(p), v); }

/// Indices of four pixels in 32-bit lanes; \a limits holds m << 16 of each.
__m128i orderedFour(__m128i pixels, __m128i limits)
{
    const __m128i weights = _mm_set1_epi32(256 << 16 | 1286);
    const __m128i byte = _mm_set1_epi32(0xff);
    const auto level = [&](__m128i value) {
        const __m128i both = _mm_or_si128(_mm_and_si128(value, byte), limits);
        return _mm_srli_epi32(_mm_madd_epi16(both, weights), 16);
    };
    const __m128i red = level(_mm_srli_epi32(pixels, 16));
    const __m128i green = level(_mm_srli_epi32(pixels, 8));
    const __m128i blue = level(pixels);
    const __m128i redGreen = _mm_or_si128(_mm_slli_epi32(red, 16), green);
    const __m128i factors = _mm_set1_epi32(36 << 16 | 6);
    return _mm_add_epi32(_mm_madd_epi16(redGreen, factors), blue);
}

/// v >> 4 of 7 v, 5 v and 3 v: the products by shifts and sums.
struct Shares
{
    __m128i ahead; // 7 / 16
    __m128i below; // 5 / 16
    __m128i behind; // 3 / 16
    __m128i belowAhead; // 1 / 16

    explicit Shares(__m128i error)
    {
        const __m128i twice = _mm_add_epi32(error, error);
        const __m128i fourTimes = _mm_slli_epi32(error, 2);
        const __m128i threeTimes = _mm_add_epi32(twice, error);
        ahead = _mm_srai_epi32(_mm_add_epi32(threeTimes, fourTimes), 4);
        below = _mm_srai_epi32(_mm_add_epi32(fourTimes, error), 4);
        behind = _mm_srai_epi32(threeTimes, 4);
        belowAhead = _mm_srai_epi32(error, 4);
    }
};

} // namespace

namespace vellum::convert {

void orderedCubeSse41(unsigned char *out, const unsigned char *pixels,
                      const unsigned char *matrixRow, int width)
{
    const __m128i matrix = load(matrixRow);
    __m128i limits[4];
    limits[0] = _mm_slli_epi32(_mm_cvtepu8_epi32(matrix), 16);
    limits[1] = _mm_slli_epi32(_mm_cvtepu8_epi32(_mm_srli_si128(matrix, 4)), 16);
    limits[2] = _mm_slli_epi32(_mm_cvtepu8_epi32(_mm_srli_si128(matrix, 8)), 16);
    limits[3] = _mm_slli_epi32(_mm_cvtepu8_epi32(_mm_srli_si128(matrix, 12)), 16);
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        const unsigned char *const p = pixels + 4LL * x;
        const __m128i a = orderedFour(load(p), limits[0]);
        const __m128i b = orderedFour(load(p + 16), limits[1]);
        const __m128i c = orderedFour(load(p + 32), limits[2]);
        const __m128i d = orderedFour(load(p + 48), limits[3]);
        store(out + x, _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
    }
    if (x < width)
        orderedCubePortable(out + x, pixels + 4LL * x, matrixRow, width - x);
}

// The channels of a pixel side by side. Errors need 32 bits: in large dark areas they drift.
void diffuseCubeSse41(unsigned char *out, const unsigned char *pixels, int *errors, int width,
                      bool leftToRight)
{
    if (width == 0)
        return;
    const long long step = leftToRight ? 1 : -1;
    const long long first = leftToRight ? 0 : width - 1;
    const unsigned char *p = pixels + first * 4;
    int *e = errors + first * 4;
    unsigned char *o = out + first;
    const __m128i most = _mm_set1_epi32(255);
    const __m128i factors = _mm_setr_epi16(1, 0, 6, 0, 36, 0, 0, 0);
    __m128i ahead = _mm_setzero_si128();
    __m128i belowLast = ahead;
    __m128i belowHere = ahead;
    for (int i = 0; i < width; ++i, p += 4 * step, e += 4 * step, o += step) {
        int pixel;
        std::memcpy(&pixel, p, sizeof pixel);
        const __m128i value = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(pixel));
        const __m128i v = _mm_add_epi32(_mm_add_epi32(value, load(e)), ahead);
        const __m128i clamped = _mm_max_epi32(_mm_min_epi32(v, most), _mm_setzero_si128());
        // (5 v + 128) / 255 for 0 to 255 is (v + 25) / 51, which is a multiplication by 1286
        const __m128i level =
            _mm_mulhi_epu16(_mm_add_epi32(clamped, _mm_set1_epi32(25)), _mm_set1_epi32(1286));
        const __m128i error = _mm_sub_epi32(v, _mm_mullo_epi16(level, _mm_set1_epi32(kLevelStep)));
        const Shares shares(error);
        ahead = shares.ahead;
        if (i > 0) {
            // A quirk of the rule: running right, nothing goes below-behind into column 0.
            const __m128i behind = leftToRight && i == 1 ? _mm_setzero_si128() : shares.behind;
            store(e - 4 * step, _mm_add_epi32(belowLast, behind));
        }
        belowLast = _mm_add_epi32(belowHere, shares.below);
        belowHere = shares.belowAhead;

        const __m128i parts = _mm_madd_epi16(level, factors);
        const __m128i sum = _mm_add_epi32(parts, _mm_srli_si128(parts, 4));
        *o = static_cast<unsigned char>(
            _mm_cvtsi128_si32(_mm_add_epi32(sum, _mm_srli_si128(parts, 8))));
    }
    store(e - 4 * step, belowLast);
}

} // namespace vellum::convert
