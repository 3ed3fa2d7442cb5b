// Colours multiplied by their alpha, in a portable and an SSE4.1 form.
#pragma once

namespace vellum::convert {

/// Multiplies each channel of \a width pixels, whose fourth byte is alpha, by alpha / 255.
///
/// t = channel * alpha becomes ((t >> 8) + t + 128) >> 8, which is rounded. \a out may be \a in.
void premultiplyPortable(unsigned char *out, const unsigned char *in, int width);
void premultiplySse41(unsigned char *out, const unsigned char *in, int width);

} // namespace vellum::convert
