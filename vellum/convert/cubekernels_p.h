// Row kernels of dithering to the colour cube, each in a portable and an SSE4.1 form.
//
// A pixel is 0xAARRGGBB, alpha is not read; an index is 36 r + 6 g + b for levels 0 to 5.
#pragma once

namespace vellum::convert {

constexpr int kLevelStep = 51; ///< from one level of a channel to the next

/// The level of \a v, 0 to 255, in an ordered pattern with the threshold \a m.
constexpr int orderedLevel(int v, int m) { return (1286 * v + 256 * m) >> 16; }

/// Gives every channel its orderedLevel() with m of \a matrixRow at column & 15.
void orderedCubePortable(unsigned char *out, const unsigned char *pixels,
                         const unsigned char *matrixRow, int width);
void orderedCubeSse41(unsigned char *out, const unsigned char *pixels,
                      const unsigned char *matrixRow, int width);

/// Diffuses errors along the row, from left to right or from right to left.
///
/// \param errors  4 per pixel (blue, green, red, unused): of the row above, replaced by this
///                row's
void diffuseCubePortable(unsigned char *out, const unsigned char *pixels, int *errors, int width,
                         bool leftToRight);
void diffuseCubeSse41(unsigned char *out, const unsigned char *pixels, int *errors, int width,
                      bool leftToRight);

} // namespace vellum::convert
