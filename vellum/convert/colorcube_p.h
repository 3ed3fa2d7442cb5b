// Dithering to the 6 x 6 x 6 colour cube.
#pragma once

#include <vellum/convert/monodither_p.h>

#include <QRgb>
#include <QVector>

namespace vellum::convert {

/// Row kernels of the cube, each in a portable and an SSE4.1 form. A pixel is 0xAARRGGBB, alpha
/// is not read; an index is (36 r + 6 g + b) for levels 0 to 5.
/// @{

/// Level of a channel v: (1286 v + 256 m) >> 16, with m of \a matrixRow at column & 15.
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
/// @}

/// The 216 colours of the cube: levels are 51 apart, blue runs fastest.
QVector<QRgb> cubeColors();

/// Gives the rows of one image, from top to bottom, indices into the cube.
class CubeDither
{
public:
    CubeDither(int width, DitherMode mode);

    /// Writes the indices of the next row of pixels 0xAARRGGBB.
    void dither(uchar *out, const uchar *pixels);

private:
    int m_width;
    DitherMode m_mode;
    int m_row = 0;
    std::vector<int> m_errors;
};

} // namespace vellum::convert
