#include <vellum/image/copybytes_p.h>

#include <cstring>

namespace vellum::image {

void copyCached(uchar *to, const uchar *from, std::size_t count) { std::memcpy(to, from, count); }

#ifndef VELLUM_HAVE_SSE2
void copyStreaming(uchar *to, const uchar *from, std::size_t count) { copyCached(to, from, count); }
#endif

} // namespace vellum::image
