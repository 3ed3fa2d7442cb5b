#include <vellum/geometry/sampler_p.h>

#include <smmintrin.h>

#include <cstring>

namespace vellum::geometry {

namespace {

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

/// What is at a position, with the right neighbour behind it, and in the row below.
struct Sample
{
    const uchar *top;
    const uchar *bottom;
};

/// Four bytes from left and right neighbours, the halves of each lane, and their weights.
__m128i blendedBytes(__m128i top, __m128i bottom, __m128i across, __m128i down)
{
    const __m128i above = _mm_madd_epi16(top, across);
    const __m128i below = _mm_madd_epi16(bottom, across);
    // above * (1024 - down) + below * down with one product
    const __m128i difference = _mm_mullo_epi32(_mm_sub_epi32(below, above), down);
    return _mm_srli_epi32(_mm_add_epi32(_mm_slli_epi32(above, 10), difference), 20);
}

/// The same of numbers of 16 bits, whose sums take more than a lane.
__m128i blendedWords(__m128i top, __m128i bottom, __m128i across, __m128i down)
{
    // Factors have a sign, so that the channels are halfway moved below 0 and the sums back.
    const __m128i half = _mm_set1_epi16(-0x8000);
    const __m128i above = _mm_madd_epi16(_mm_xor_si128(top, half), across);
    const __m128i below = _mm_madd_epi16(_mm_xor_si128(bottom, half), across);
    const __m128i difference = _mm_sub_epi32(below, above);
    const __m128i moved = _mm_add_epi32(above, _mm_set1_epi32(1024 << 15));
    const __m128i even =
        _mm_add_epi64(_mm_slli_epi64(_mm_blend_epi16(moved, _mm_setzero_si128(), 0xcc), 10),
                      _mm_mul_epi32(difference, down));
    const __m128i odd =
        _mm_add_epi64(_mm_slli_epi64(_mm_srli_epi64(moved, 32), 10),
                      _mm_mul_epi32(_mm_srli_epi64(difference, 32), _mm_srli_epi64(down, 32)));
    // bit 20 and up of both, as lanes of 32 bits
    return _mm_blend_epi16(_mm_srli_epi64(even, 20), _mm_slli_epi64(odd, 12), 0xcc);
}

/// What is at a place, of any alignment.
template <typename Value>
int loaded(const uchar *place)
{
    Value value;
    std::memcpy(&value, place, sizeof value);
    return int(value);
}

/// The pixels of four samples and their right neighbours, a lane for both.
template <typename BothPixels>
struct Lanes
{
    __m128i top;
    __m128i bottom;

    explicit Lanes(const Sample *samples)
        : top(_mm_setr_epi32(loaded<BothPixels>(samples[0].top), loaded<BothPixels>(samples[1].top),
                             loaded<BothPixels>(samples[2].top),
                             loaded<BothPixels>(samples[3].top))),
          bottom(_mm_setr_epi32(
              loaded<BothPixels>(samples[0].bottom), loaded<BothPixels>(samples[1].bottom),
              loaded<BothPixels>(samples[2].bottom), loaded<BothPixels>(samples[3].bottom)))
    {
    }
};

/// \name Layouts: bytes of a pixel, and how four samples become the next four of them
/// @{

/// Channels of a byte, \a Bytes of them: 3 or 4. A sample reads two pixels of 4 bytes.
template <int Bytes>
struct ByteChannels
{
    static constexpr int kBytes = Bytes;

    static void draw(uchar *out, const Sample *samples, const Weights &weights)
    {
        const __m128i pixels = _mm_packus_epi16(
            _mm_packus_epi32(blended<0>(samples[0], weights), blended<1>(samples[1], weights)),
            _mm_packus_epi32(blended<2>(samples[2], weights), blended<3>(samples[3], weights)));
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

private:
    /// The channels of a pixel, one per lane, with the weights of sample \a Index.
    template <int Index>
    static __m128i blended(const Sample &sample, const Weights &weights)
    {
        const __m128i across = _mm_shuffle_epi32(weights.across, Index * 0x55);
        const __m128i down = _mm_shuffle_epi32(weights.down, Index * 0x55);
        return blendedBytes(pairs(sample.top), pairs(sample.bottom), across, down);
    }

    /// Each channel beside that of the right neighbour, as 16-bit numbers. The fourth of 24-bit
    /// pixels is not stored.
    static __m128i pairs(const uchar *pixels)
    {
        const __m128i order = Bytes == 4
            ? _mm_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1)
            : _mm_setr_epi8(0, -1, 3, -1, 1, -1, 4, -1, 2, -1, 5, -1, -1, -1, -1, -1);
        return _mm_shuffle_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(pixels)), order);
    }
};

/// Four channels of 16 bits.
struct WordChannels
{
    static constexpr int kBytes = 8;

    static void draw(uchar *out, const Sample *samples, const Weights &weights)
    {
        auto *const pixels = reinterpret_cast<__m128i *>(out);
        _mm_storeu_si128(
            pixels,
            _mm_packus_epi32(blended<0>(samples[0], weights), blended<1>(samples[1], weights)));
        _mm_storeu_si128(
            pixels + 1,
            _mm_packus_epi32(blended<2>(samples[2], weights), blended<3>(samples[3], weights)));
    }

private:
    template <int Index>
    static __m128i blended(const Sample &sample, const Weights &weights)
    {
        const __m128i across = _mm_shuffle_epi32(weights.across, Index * 0x55);
        const __m128i down = _mm_shuffle_epi32(weights.down, Index * 0x55);
        return blendedWords(pairs(sample.top), pairs(sample.bottom), across, down);
    }

    static __m128i pairs(const uchar *pixels)
    {
        const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pixels));
        const __m128i order = _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
        return _mm_shuffle_epi8(both, order);
    }
};

/// A grey of a byte.
struct GreyByte
{
    static constexpr int kBytes = 1;

    static void draw(uchar *out, const Sample *samples, const Weights &weights)
    {
        const Lanes<quint16> lanes(samples);
        const __m128i apart =
            _mm_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1);
        const __m128i greys =
            blendedBytes(_mm_shuffle_epi8(lanes.top, apart), _mm_shuffle_epi8(lanes.bottom, apart),
                         weights.across, weights.down);
        const int pixels = _mm_cvtsi128_si32(
            _mm_shuffle_epi8(greys, _mm_set1_epi32(0 | 4 << 8 | 8 << 16 | 12 << 24)));
        std::memcpy(out, &pixels, sizeof pixels);
    }
};

/// A grey of 16 bits.
struct GreyWord
{
    static constexpr int kBytes = 2;

    static void draw(uchar *out, const Sample *samples, const Weights &weights)
    {
        const Lanes<quint32> lanes(samples);
        const __m128i greys = blendedWords(lanes.top, lanes.bottom, weights.across, weights.down);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packus_epi32(greys, greys));
    }
};

/// Channels of \a Widths bits, at most 6, in a number of 16 bits from its lowest bit up.
template <int... Widths>
struct PackedChannels
{
    static constexpr int kBytes = 2;

    static void draw(uchar *out, const Sample *samples, const Weights &weights)
    {
        const Lanes<quint32> lanes(samples);
        const __m128i down = _mm_or_si128(_mm_slli_epi32(weights.down, 16),
                                          _mm_sub_epi32(_mm_set1_epi32(1024), weights.down));
        __m128i pixels = _mm_setzero_si128();
        int shift = 0;
        const auto blendField = [&](int width) {
            const auto blendedAcross = [&](__m128i pairs) {
                const __m128i field = _mm_and_si128(_mm_srli_epi16(pairs, shift),
                                                    _mm_set1_epi16(short((1 << width) - 1)));
                // Halfway moved below 0, for the sums to be numbers of 16 bits.
                const __m128i half = _mm_set1_epi16(short(1 << (width - 1)));
                return _mm_madd_epi16(_mm_sub_epi16(field, half), weights.across);
            };
            const __m128i both = _mm_blend_epi16(
                blendedAcross(lanes.top), _mm_slli_epi32(blendedAcross(lanes.bottom), 16), 0xaa);
            const __m128i sum =
                _mm_add_epi32(_mm_madd_epi16(both, down), _mm_set1_epi32(1 << (width - 1) << 20));
            pixels = _mm_or_si128(pixels, _mm_slli_epi32(_mm_srli_epi32(sum, 20), shift));
            shift += width;
        };
        (blendField(Widths), ...);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packus_epi32(pixels, pixels));
    }
};
/// @}

/// Numbers start, start + step and so on, of which only the low bits are kept.
__m128i lanesFrom(qint64 start, int step)
{
    const auto lane = [=](int i) { return int(quint32(start + qint64(i) * step)); };
    return _mm_setr_epi32(lane(0), lane(1), lane(2), lane(3));
}

template <typename Layout>
void drawBilinear(const SampleRun &run)
{
    constexpr int kBytes = Layout::kBytes;
    uchar *out = run.out + qptrdiff(run.column) * kBytes;
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

    const auto next = [&] {
        const uchar *const *const row = rows + (y >> 10);
        const qptrdiff left = (x >> 10) * kBytes;
        x += stepX;
        y += stepY;
        return Sample {row[0] + left, row[1] + left};
    };

    int count = run.count;
    for (; count >= 4; count -= 4, out += 4 * kBytes) {
        const Sample samples[4] = {next(), next(), next(), next()};
        Layout::draw(out, samples, Weights(lanesX, lanesY));
        lanesX = _mm_add_epi32(lanesX, fourX);
        lanesY = _mm_add_epi32(lanesY, fourY);
    }
    if (count == 0)
        return;
    Sample samples[4] = {next()};
    for (int i = 1; i < 4; ++i)
        samples[i] = i < count ? next() : samples[0];
    uchar last[4 * kBytes];
    Layout::draw(last, samples, Weights(lanesX, lanesY));
    std::memcpy(out, last, size_t(count) * kBytes);
}

} // namespace

void drawBilinearGrey8Sse41(const SampleRun &run) { drawBilinear<GreyByte>(run); }

void drawBilinearGrey16Sse41(const SampleRun &run) { drawBilinear<GreyWord>(run); }

void drawBilinear24Sse41(const SampleRun &run) { drawBilinear<ByteChannels<3>>(run); }

void drawBilinear32Sse41(const SampleRun &run) { drawBilinear<ByteChannels<4>>(run); }

void drawBilinear64Sse41(const SampleRun &run) { drawBilinear<WordChannels>(run); }

void drawBilinear565Sse41(const SampleRun &run) { drawBilinear<PackedChannels<5, 6, 5>>(run); }

void drawBilinear555Sse41(const SampleRun &run) { drawBilinear<PackedChannels<5, 5, 5>>(run); }

void drawBilinear444Sse41(const SampleRun &run) { drawBilinear<PackedChannels<4, 4, 4>>(run); }

void drawBilinear4444Sse41(const SampleRun &run) { drawBilinear<PackedChannels<4, 4, 4, 4>>(run); }

} // namespace vellum::geometry
