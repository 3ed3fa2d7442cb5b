#include <vellum/geometry/transpose_p.h>

#include <smmintrin.h>

#include <cstring>

namespace vellum::geometry {

namespace {

/// The low or high halves of two registers, pixel by pixel in turn.
template <int Bytes>
struct Interleave;

template <>
struct Interleave<1>
{
    static __m128i low(__m128i a, __m128i b) { return _mm_unpacklo_epi8(a, b); }
    static __m128i high(__m128i a, __m128i b) { return _mm_unpackhi_epi8(a, b); }
};

template <>
struct Interleave<2>
{
    static __m128i low(__m128i a, __m128i b) { return _mm_unpacklo_epi16(a, b); }
    static __m128i high(__m128i a, __m128i b) { return _mm_unpackhi_epi16(a, b); }
};

template <>
struct Interleave<4>
{
    static __m128i low(__m128i a, __m128i b) { return _mm_unpacklo_epi32(a, b); }
    static __m128i high(__m128i a, __m128i b) { return _mm_unpackhi_epi32(a, b); }
};

template <>
struct Interleave<8>
{
    static __m128i low(__m128i a, __m128i b) { return _mm_unpacklo_epi64(a, b); }
    static __m128i high(__m128i a, __m128i b) { return _mm_unpackhi_epi64(a, b); }
};

/// Transposes a square of 16 / Bytes registers. Each interleaving of the first half of the rows
/// with the second moves the index of a pixel one binary digit on, from row to column.
template <int Bytes>
void transposeRegisters(__m128i *square)
{
    constexpr int kSide = 16 / Bytes;
    for (int step = kSide; step > 1; step /= 2) {
        __m128i next[kSide];
        for (int i = 0; i < kSide / 2; ++i) {
            next[2 * i] = Interleave<Bytes>::low(square[i], square[i + kSide / 2]);
            next[2 * i + 1] = Interleave<Bytes>::high(square[i], square[i + kSide / 2]);
        }
        for (int i = 0; i < kSide; ++i)
            square[i] = next[i];
    }
}

/// How pixels of a size get into registers and out again.
template <int Bytes>
struct Square
{
    static constexpr int kSide = 16 / Bytes;
    static constexpr int kLane = Bytes;
    static __m128i load(const uchar *p)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    }
    static void store(uchar *p, __m128i pixels)
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p), pixels);
    }
};

/// Pixels of 3 bytes travel in lanes of 4.
template <>
struct Square<3>
{
    static constexpr int kSide = 4;
    static constexpr int kLane = 4;
    static __m128i load(const uchar *p)
    {
        const __m128i first = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p));
        int last;
        std::memcpy(&last, p + 8, sizeof last);
        return _mm_shuffle_epi8(
            _mm_insert_epi32(first, last, 2),
            _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    }
    static void store(uchar *p, __m128i pixels)
    {
        const __m128i packed = _mm_shuffle_epi8(
            pixels, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(p), packed);
        const int last = _mm_extract_epi32(packed, 2);
        std::memcpy(p + 8, &last, sizeof last);
    }
};

template <int Bytes>
void transposeTile(uchar *const *out, const uchar *tile, int columns, int rows)
{
    using Pixels = Square<Bytes>;
    constexpr int kSide = Pixels::kSide;
    constexpr int kPitch = kTileColumns<Bytes> * Bytes;
    const int wholeRows = rows / kSide * kSide;
    for (int c = 0; c < columns; c += kSide) {
        const int count = columns - c < kSide ? columns - c : kSide;
        for (int r = 0; r < wholeRows; r += kSide) {
            __m128i square[kSide];
            for (int i = 0; i < kSide; ++i)
                square[i] = Pixels::load(tile + (r + i) * kPitch + c * Bytes);
            transposeRegisters<Pixels::kLane>(square);
            if (count == kSide) {
                for (int i = 0; i < kSide; ++i)
                    Pixels::store(out[c + i] + r * Bytes, square[i]);
            } else {
                for (int i = 0; i < count; ++i)
                    Pixels::store(out[c + i] + r * Bytes, square[i]);
            }
        }
        for (int i = 0; i < count; ++i)
            for (int r = wholeRows; r < rows; ++r)
                std::memcpy(out[c + i] + r * Bytes, tile + r * kPitch + (c + i) * Bytes, Bytes);
    }
}

} // namespace

void transpose8Sse41(uchar *const *out, const uchar *tile, int columns, int rows)
{
    transposeTile<1>(out, tile, columns, rows);
}

void transpose16Sse41(uchar *const *out, const uchar *tile, int columns, int rows)
{
    transposeTile<2>(out, tile, columns, rows);
}

void transpose24Sse41(uchar *const *out, const uchar *tile, int columns, int rows)
{
    transposeTile<3>(out, tile, columns, rows);
}

void transpose32Sse41(uchar *const *out, const uchar *tile, int columns, int rows)
{
    transposeTile<4>(out, tile, columns, rows);
}

void transpose64Sse41(uchar *const *out, const uchar *tile, int columns, int rows)
{
    transposeTile<8>(out, tile, columns, rows);
}

} // namespace vellum::geometry
