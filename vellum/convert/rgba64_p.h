// Rows of 16-bit channels narrowed to 8 bits.
#pragma once

namespace vellum::convert {

/// Writes \a width pixels of 16-bit channels R, G, B, A as words 0xAARRGGBB. Rows need no
/// alignment.
///
/// A channel c becomes (c + 128 - ((c + 128) >> 8)) >> 8, which is c / 257 rounded.
void narrowRgba64Portable(unsigned char *out, const unsigned char *in, int width);
void narrowRgba64Sse41(unsigned char *out, const unsigned char *in, int width); ///< \overload

} // namespace vellum::convert
