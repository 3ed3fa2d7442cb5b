#include <vellum/image/fillbytes_p.h>

#include <cstring>

namespace vellum::image {

void fillCached(uchar *to, std::size_t count, const Pattern &pattern)
{
    for (; count >= kPatternBytes; count -= kPatternBytes, to += kPatternBytes)
        std::memcpy(to, pattern, kPatternBytes);
    std::memcpy(to, pattern, count);
}

#ifndef VELLUM_HAVE_SSE2
void fillStreaming(uchar *to, std::size_t count, const Pattern &pattern)
{
    fillCached(to, count, pattern);
}
#endif

} // namespace vellum::image
