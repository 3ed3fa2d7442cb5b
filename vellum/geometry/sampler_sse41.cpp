#include <vellum/geometry/sampler_p.h>

#include <smmintrin.h>

#include <cstring>

namespace vellum::geometry {

namespace {

__m128i loadPair(const uchar *pixels)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(pixels));
}

/// Number of a sample within four, as a type.
template <int Index>
struct Lane
{
    static constexpr int kIndex = Index;
};

/// How near each of four samples is to the right and lower neighbours of its pixel.
struct Weights
{
    __m128i across; ///< 1024 - right and right, as the two halves of each lane
    __m128i down;

    /// Positions count in their low bits only.
    Weights(__m128i x, __m128i y)
    {
        const __m128i fraction = _mm_set1_epi32(1023);
        const __m128i right = _mm_and_si128(x, fraction);
        across =
            _mm_or_si128(_mm_slli_epi32(right, 16), _mm_sub_epi32(_mm_set1_epi32(1024), right));
        down = _mm_and_si128(y, fraction);
    }
};

/// The blended channels of a pixel, one per lane, with the weights of sample \a Index. \a pairs
/// brings each channel of a pixel and of its right neighbour side by side, as 16-bit numbers.
template <int Index>
__m128i blended(const uchar *top, const uchar *bottom, const Weights &weights, __m128i pairs)
{
    const __m128i across = _mm_shuffle_epi32(weights.across, Index * 0x55);
    const __m128i down = _mm_shuffle_epi32(weights.down, Index * 0x55);
    const __m128i above = _mm_madd_epi16(_mm_shuffle_epi8(loadPair(top), pairs), across);
    const __m128i below = _mm_madd_epi16(_mm_shuffle_epi8(loadPair(bottom), pairs), across);
    // above * (1024 - down) + below * down with one product
    const __m128i difference = _mm_mullo_epi32(_mm_sub_epi32(below, above), down);
    return _mm_srli_epi32(_mm_add_epi32(_mm_slli_epi32(above, 10), difference), 20);
}

/// Numbers start, start + step and so on, of which only the low bits are kept.
__m128i lanesFrom(qint64 start, int step)
{
    const auto lane = [=](int i) { return int(quint32(start + qint64(i) * step)); };
    return _mm_setr_epi32(lane(0), lane(1), lane(2), lane(3));
}

template <int Bytes>
void drawBilinear(const SampleRun &run, __m128i pairs)
{
    uchar *out = run.out + qptrdiff(run.column) * Bytes;
    // The compiler must assume that run changes with every pixel stored.
    const uchar *const *const rows = run.rows;
    const int stepX = run.stepX;
    const int stepY = run.stepY;
    qint64 x = run.x;
    qint64 y = run.y;
    __m128i lanesX = lanesFrom(x, stepX);
    __m128i lanesY = lanesFrom(y, stepY);
    const __m128i fourX = _mm_set1_epi32(4 * stepX);
    const __m128i fourY = _mm_set1_epi32(4 * stepY);

    const auto next = [&](auto lane, const Weights &weights) {
        const uchar *const *const row = rows + (y >> 10);
        const qptrdiff left = (x >> 10) * Bytes;
        x += stepX;
        y += stepY;
        return blended<decltype(lane)::kIndex>(row[0] + left, row[1] + left, weights, pairs);
    };
    const auto packed = [](__m128i a, __m128i b, __m128i c, __m128i d) {
        return _mm_packus_epi16(_mm_packus_epi32(a, b), _mm_packus_epi32(c, d));
    };

    int count = run.count;
    for (; count >= 4; count -= 4, out += 4 * Bytes) {
        const Weights weights(lanesX, lanesY);
        const __m128i a = next(Lane<0>(), weights);
        const __m128i b = next(Lane<1>(), weights);
        const __m128i c = next(Lane<2>(), weights);
        const __m128i d = next(Lane<3>(), weights);
        lanesX = _mm_add_epi32(lanesX, fourX);
        lanesY = _mm_add_epi32(lanesY, fourY);
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
        const __m128i pixel = next(Lane<0>(), Weights(lanesFrom(x, 0), lanesFrom(y, 0)));
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
