// The grey of big 32-bit images, which green weighs on twice.
#pragma once

namespace vellum::convert {

/// Writes trunc(0.299 R + 0.587 G + 0.114 G) of \a width pixels 0xAARRGGBB.
///
/// Blue is never read and green has its weight too: callers rely on it. The terms are of type
/// double and are added from left to right, which decides what some equal R and G truncate to.
void greenWeighted(unsigned char *out, const unsigned char *pixels, int width);

/// What is particular where R and G are alike, v: bit v & 7 of byte v >> 3 is set when the grey is
/// v - 1.
using LowGreys = unsigned char[32];

void greenWeightedPortable(unsigned char *out, const unsigned char *pixels, int width);
void greenWeightedSse41(unsigned char *out, const unsigned char *pixels, int width,
                        const LowGreys &lowGreys);

} // namespace vellum::convert
