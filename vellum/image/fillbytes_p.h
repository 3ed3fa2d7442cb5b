// Filling memory with a repeated pattern, through the caches or past them.
#pragma once

#include <QtGlobal>

#include <cstddef>

namespace vellum::image {

/// A whole number of pixels of every size, and of vector registers.
constexpr int kPatternBytes = 48;
using Pattern = uchar[kPatternBytes];

/// Writes \a pattern over and over to \a count bytes from \a to.
void fillCached(uchar *to, std::size_t count, const Pattern &pattern);

/// The same bytes, written past the caches where the processor can do that.
///
/// A store that goes through a cache first reads the line it is about to replace. For memory that
/// is larger than the caches this reading is half of the traffic.
void fillStreaming(uchar *to, std::size_t count, const Pattern &pattern);

} // namespace vellum::image
