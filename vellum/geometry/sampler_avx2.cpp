#include <vellum/geometry/sampler_p.h>

#include <immintrin.h>

#include <cstring>

namespace vellum::geometry {

namespace {

constexpr int kLanes = 8; // samples drawn at once

/// start, start + step and so on.
__m256i lanesFrom(int start, int step)
{
    const __m256i indices = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    return _mm256_add_epi32(_mm256_set1_epi32(start),
                            _mm256_mullo_epi32(indices, _mm256_set1_epi32(step)));
}

/// How near each sample is to the right and lower neighbours of its pixel.
struct Weights
{
    __m256i across; ///< 1024 - right and right, as the two halves of each lane
    __m256i down;

    Weights(__m256i x, __m256i y)
    {
        const __m256i fraction = _mm256_set1_epi32(1023);
        const __m256i right = _mm256_and_si256(x, fraction);
        across = _mm256_or_si256(_mm256_slli_epi32(right, 16),
                                 _mm256_sub_epi32(_mm256_set1_epi32(1024), right));
        down = _mm256_and_si256(y, fraction);
    }
};

/// Where samples take their pixels from; each has its right neighbour behind it.
struct Places
{
    const uchar *top; ///< of the first sample of the run
    const uchar *bottom; ///< in the row below
    const int *offsets; ///< of the samples from there, in bytes
};

/// Pixels with channels of a byte, \a Bytes of them: 3 or 4. A sample reads two pixels of 4 bytes.
template <int Bytes>
class ByteChannels
{
public:
    static void draw(uchar *out, const Places &places, const Weights &weights)
    {
        const __m256i blent = _mm256_packus_epi16(
            _mm256_packus_epi32(blended<0>(places, weights), blended<1>(places, weights)),
            _mm256_packus_epi32(blended<2>(places, weights), blended<3>(places, weights)));
        if (Bytes == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), blent);
        } else {
            const __m256i close =
                _mm256_shuffle_epi8(blent,
                                    _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                        0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
            const __m256i together =
                _mm256_permutevar8x32_epi32(close, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm256_castsi256_si128(together));
            _mm_storel_epi64(reinterpret_cast<__m128i *>(out + 16),
                             _mm256_extracti128_si256(together, 1));
        }
    }

private:
    /// The channels of samples \a Index and \a Index + 4, one per lane.
    template <int Index>
    static __m256i blended(const Places &places, const Weights &weights)
    {
        const __m256i across = _mm256_shuffle_epi32(weights.across, Index * 0x55);
        const __m256i down = _mm256_shuffle_epi32(weights.down, Index * 0x55);
        const __m256i above = _mm256_madd_epi16(pairs(places.top, places.offsets + Index), across);
        const __m256i below =
            _mm256_madd_epi16(pairs(places.bottom, places.offsets + Index), across);
        // above * (1024 - down) + below * down with one product
        const __m256i difference = _mm256_mullo_epi32(_mm256_sub_epi32(below, above), down);
        return _mm256_srli_epi32(_mm256_add_epi32(_mm256_slli_epi32(above, 10), difference), 20);
    }

    /// Of a sample and the one four behind it each channel beside that of the right neighbour, as
    /// 16-bit numbers. The fourth of 24-bit pixels is not stored.
    static __m256i pairs(const uchar *row, const int *offset)
    {
        const __m128i order = Bytes == 4
            ? _mm_setr_epi8(0, -1, 4, -1, 1, -1, 5, -1, 2, -1, 6, -1, 3, -1, 7, -1)
            : _mm_setr_epi8(0, -1, 3, -1, 1, -1, 4, -1, 2, -1, 5, -1, -1, -1, -1, -1);
        const __m256i both =
            _mm256_blend_epi32(everywhere(row + offset[0]), everywhere(row + offset[4]), 0xf0);
        return _mm256_shuffle_epi8(both, _mm256_broadcastsi128_si256(order));
    }

    static __m256i everywhere(const uchar *eightBytes)
    {
        return _mm256_broadcastq_epi64(
            _mm_loadl_epi64(reinterpret_cast<const __m128i *>(eightBytes)));
    }
};

/// The positions of samples from the first one's pixel on, which a run keeps within 32 bits.
struct Positions
{
    __m256i x;
    __m256i y;
    __m256i stepX; ///< of all lanes
    __m256i stepY;

    explicit Positions(const SampleRun &run)
        : x(lanesFrom(int(run.x & 1023), run.stepX)), y(lanesFrom(int(run.y & 1023), run.stepY)),
          stepX(_mm256_set1_epi32(kLanes * run.stepX)), stepY(_mm256_set1_epi32(kLanes * run.stepY))
    {
    }

    void advance()
    {
        x = _mm256_add_epi32(x, stepX);
        y = _mm256_add_epi32(y, stepY);
    }
};

/// Writes how far from the first sample's pixel those of the next samples are, in bytes: \a count
/// of them, rounded up to whole lanes.
template <int Bytes>
void locate(int *offsets, int count, Positions &positions, int stride)
{
    for (int i = 0; i < count; i += kLanes) {
        const __m256i rows = _mm256_srai_epi32(positions.y, 10);
        const __m256i columns = _mm256_srai_epi32(positions.x, 10);
        const __m256i offset =
            _mm256_add_epi32(_mm256_mullo_epi32(rows, _mm256_set1_epi32(stride)),
                             _mm256_mullo_epi32(columns, _mm256_set1_epi32(Bytes)));
        _mm256_store_si256(reinterpret_cast<__m256i *>(offsets + i), offset);
        positions.advance();
    }
}

template <int Bytes>
void drawBilinear(const SampleRun &run)
{
    // Located a chunk at a time, because taking numbers out of a register one by one is slower
    // than loading them.
    constexpr int kChunk = 128;
    alignas(32) int offsets[kChunk];
    const uchar *const top = run.rows[run.y >> 10] + (run.x >> 10) * Bytes;
    const uchar *const bottom = top + run.stride;
    const int stride = int(run.stride);
    uchar *out = run.out + qptrdiff(run.column) * Bytes;
    Positions located(run);
    Positions drawn = located;
    for (int rest = run.count; rest > 0; rest -= kChunk) {
        const int count = rest < kChunk ? rest : kChunk;
        locate<Bytes>(offsets, count, located, stride);
        int i = 0;
        for (; i + kLanes <= count; i += kLanes, out += kLanes * Bytes) {
            ByteChannels<Bytes>::draw(out, {top, bottom, offsets + i}, Weights(drawn.x, drawn.y));
            drawn.advance();
        }
        if (i == count)
            continue;
        for (int beyond = count; beyond < i + kLanes; ++beyond) // may lie outside
            offsets[beyond] = offsets[count - 1];
        uchar last[kLanes * Bytes];
        ByteChannels<Bytes>::draw(last, {top, bottom, offsets + i}, Weights(drawn.x, drawn.y));
        std::memcpy(out, last, size_t(count - i) * Bytes);
    }
}

} // namespace

void drawBilinear24Avx2(const SampleRun &run) { drawBilinear<3>(run); }

void drawBilinear32Avx2(const SampleRun &run) { drawBilinear<4>(run); }

} // namespace vellum::geometry
