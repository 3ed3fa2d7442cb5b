#include <vellum/image/fillbytes_p.h>

#include <emmintrin.h>

#include <cstring>

namespace vellum::image {

void fillStreaming(uchar *to, std::size_t count, const Pattern &pattern)
{
    constexpr std::size_t kVector = sizeof(__m128i);
    const std::size_t head = std::size_t(-reinterpret_cast<quintptr>(to)) % kVector;
    if (count < head + kPatternBytes)
        return fillCached(to, count, pattern);

    std::memcpy(to, pattern, head);
    to += head;
    count -= head;
    Pattern aligned; // what follows the head
    std::memcpy(aligned, pattern + head, kPatternBytes - head);
    std::memcpy(aligned + kPatternBytes - head, pattern, head);

    const auto *const source = reinterpret_cast<const __m128i *>(aligned);
    const __m128i a = _mm_loadu_si128(source);
    const __m128i b = _mm_loadu_si128(source + 1);
    const __m128i c = _mm_loadu_si128(source + 2);
    for (; count >= kPatternBytes; count -= kPatternBytes, to += kPatternBytes) {
        auto *const out = reinterpret_cast<__m128i *>(to);
        _mm_stream_si128(out, a);
        _mm_stream_si128(out + 1, b);
        _mm_stream_si128(out + 2, c);
    }
    std::memcpy(to, aligned, count);
    _mm_sfence(); // other threads see the rows once they see that we are done
}

} // namespace vellum::image
