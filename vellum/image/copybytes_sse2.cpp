#include <vellum/image/copybytes_p.h>

#include <emmintrin.h>

namespace vellum::image {

void copyStreaming(uchar *to, const uchar *from, std::size_t count)
{
    // Whole cache lines only: one that two rows share would be sent to memory in pieces.
    constexpr std::size_t kLine = 64;
    const std::size_t head = std::size_t(-reinterpret_cast<quintptr>(to)) % kLine;
    if (count < head + kLine)
        return copyCached(to, from, count);

    copyCached(to, from, head);
    to += head;
    from += head;
    count -= head;
    for (; count >= kLine; count -= kLine, to += kLine, from += kLine) {
        const auto *const in = reinterpret_cast<const __m128i *>(from);
        auto *const out = reinterpret_cast<__m128i *>(to);
        const __m128i a = _mm_loadu_si128(in);
        const __m128i b = _mm_loadu_si128(in + 1);
        const __m128i c = _mm_loadu_si128(in + 2);
        const __m128i d = _mm_loadu_si128(in + 3);
        _mm_stream_si128(out, a);
        _mm_stream_si128(out + 1, b);
        _mm_stream_si128(out + 2, c);
        _mm_stream_si128(out + 3, d);
    }
    copyCached(to, from, count);
    _mm_sfence(); // other threads see the rows once they see that we are done
}

} // namespace vellum::image
