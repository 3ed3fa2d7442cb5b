#include <vellum/geometry/sampler_p.h>

#include <smmintrin.h>

#include <cstring>

namespace vellum::geometry {

namespace {

__m128i loadPair(const uchar *pixels)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(pixels));
}

/// The blended channels of the pixel at (\a x, \a y), one per 32-bit lane. \a pairs brings each
/// channel of a pixel and of its right neighbour side by side, as 16-bit numbers.
template <int Bytes>
__m128i blended(const uchar *const *rows, qint64 x, qint64 y, __m128i pairs)
{
    const qptrdiff left = (x >> 10) * Bytes;
    const uchar *const *const row = rows + (y >> 10);
    const int right = int(x & 1023);
    const __m128i weights = _mm_set1_epi32(right << 16 | (1024 - right));
    const __m128i top = _mm_madd_epi16(_mm_shuffle_epi8(loadPair(row[0] + left), pairs), weights);
    const __m128i bottom =
        _mm_madd_epi16(_mm_shuffle_epi8(loadPair(row[1] + left), pairs), weights);
    // top * (1024 - down) + bottom * down with one product
    const __m128i down = _mm_set1_epi32(int(y & 1023));
    const __m128i difference = _mm_mullo_epi32(_mm_sub_epi32(bottom, top), down);
    return _mm_srli_epi32(_mm_add_epi32(_mm_slli_epi32(top, 10), difference), 20);
}

template <int Bytes>
void drawBilinear(const SampleRun &run, __m128i pairs)
{
    uchar *out = run.out + qptrdiff(run.column) * Bytes;
    qint64 x = run.x;
    qint64 y = run.y;
    const auto next = [&] {
        const __m128i pixel = blended<Bytes>(run.rows, x, y, pairs);
        x += run.stepX;
        y += run.stepY;
        return pixel;
    };
    const auto packed = [](__m128i a, __m128i b, __m128i c, __m128i d) {
        return _mm_packus_epi16(_mm_packus_epi32(a, b), _mm_packus_epi32(c, d));
    };

    int count = run.count;
    for (; count >= 4; count -= 4, out += 4 * Bytes) {
        const __m128i a = next();
        const __m128i b = next();
        const __m128i c = next();
        const __m128i d = next();
        const __m128i pixels = packed(a, b, c, d);
        if (Bytes == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out), pixels);
        } else {
            const __m128i close = _mm_shuffle_epi8(
                pixels, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
            _mm_storel_epi64(reinterpret_cast<__m128i *>(out), close);
            const int last = _mm_extract_epi32(close, 2);
            std::memcpy(out + 8, &last, sizeof last);
        }
    }
    for (; count > 0; --count, out += Bytes) {
        const __m128i pixel = next();
        const int value = _mm_cvtsi128_si32(packed(pixel, pixel, pixel, pixel));
        std::memcpy(out, &value, Bytes);
    }
}

} // namespace

void drawBilinear24Sse41(const SampleRun &run)
{
    // The fourth lane is not stored.
    drawBilinear<3>(run, _mm_setr_epi8(0, -1, 3, -1, 1, -1, 4, -1, 2, -1, 5, -1, -1, -1, -1, -1));
}

void drawBilinear32Sse41(const SampleRun &run)
{
    drawBilinear<4>(run, _mm_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1));
}

} // namespace vellum::geometry
