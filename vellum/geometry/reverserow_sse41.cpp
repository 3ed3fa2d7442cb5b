#include <vellum/geometry/reverserow_p.h>

#include <smmintrin.h>

namespace vellum::geometry {

namespace {

/// Where in a register of reversed pixels byte \a i comes from. Pixels that do not fill the
/// register lie at the low end of the source and end at the high end of the result.
template <int Bytes>
constexpr char sourceOf(int i)
{
    constexpr int kUnused = 16 % Bytes;
    return i < kUnused
        ? char(-1)
        : char((16 - kUnused) - Bytes * ((i - kUnused) / Bytes + 1) + (i - kUnused) % Bytes);
}

template <int Bytes>
__m128i reversal()
{
    constexpr auto s = sourceOf<Bytes>;
    return _mm_setr_epi8(s(0), s(1), s(2), s(3), s(4), s(5), s(6), s(7), s(8), s(9), s(10), s(11),
                         s(12), s(13), s(14), s(15));
}

/// Reverses a register of pixels at a time. From pixels of 3 bytes a register takes 5: it reads
/// one byte behind them and writes one in front of those it reversed, which a later step mends.
template <int Bytes>
void reverseRegisters(uchar *out, const uchar *in, qptrdiff count)
{
    constexpr qptrdiff kPixels = 16 / Bytes;
    constexpr qptrdiff kMoved = kPixels * Bytes;
    const __m128i order = reversal<Bytes>();
    uchar *end = out + count * Bytes;
    // A whole register must lie in both rows.
    for (; count * Bytes >= 16; count -= kPixels) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(end - 16), _mm_shuffle_epi8(pixels, order));
        in += kMoved;
        end -= kMoved;
    }
    for (; count > 0; --count) {
        end -= Bytes;
        for (int i = 0; i < Bytes; ++i)
            end[i] = *in++;
    }
}

} // namespace

void reverseRow8Sse41(uchar *out, const uchar *in, qptrdiff count)
{
    reverseRegisters<1>(out, in, count);
}

void reverseRow16Sse41(uchar *out, const uchar *in, qptrdiff count)
{
    reverseRegisters<2>(out, in, count);
}

void reverseRow24Sse41(uchar *out, const uchar *in, qptrdiff count)
{
    reverseRegisters<3>(out, in, count);
}

void reverseRow32Sse41(uchar *out, const uchar *in, qptrdiff count)
{
    reverseRegisters<4>(out, in, count);
}

void reverseRow64Sse41(uchar *out, const uchar *in, qptrdiff count)
{
    reverseRegisters<8>(out, in, count);
}

} // namespace vellum::geometry
