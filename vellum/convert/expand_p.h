// 24-bit pixels widened to 32 bits, in a portable and an SSE4.1 form.
#pragma once

namespace vellum::convert {

/// From bytes R, G, B to bytes B, G, R, 255, or to R, G, B, 255 from bytes B, G, R.
void expandRgbPortable(unsigned char *out, const unsigned char *in, int width);
void expandRgbSse41(unsigned char *out, const unsigned char *in, int width);

/// From bytes B, G, R to bytes B, G, R, 255, or likewise from and to bytes R, G, B.
void expandBgrPortable(unsigned char *out, const unsigned char *in, int width);
void expandBgrSse41(unsigned char *out, const unsigned char *in, int width);

} // namespace vellum::convert
