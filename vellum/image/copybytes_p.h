// Copying rows, through the caches or past them.
#pragma once

#include <QtGlobal>

#include <cstddef>

namespace vellum::image {

/// Copies \a count bytes; the two may not overlap.
using CopyBytes = void (*)(uchar *to, const uchar *from, std::size_t count);

void copyCached(uchar *to, const uchar *from, std::size_t count);

/// The same bytes, written past the caches where the processor can do that: see fillStreaming().
void copyStreaming(uchar *to, const uchar *from, std::size_t count);

/// The faster of the two for an image of \a imageBytes that is copied row by row: by streaming
/// where original and copy do not stay in the caches together anyway.
inline CopyBytes rowCopier(qint64 imageBytes)
{
    constexpr qint64 kStreamFrom = 16 << 20;
    return imageBytes < kStreamFrom ? copyCached : copyStreaming;
}

} // namespace vellum::image
