// Dithering to the 6 x 6 x 6 colour cube.
#pragma once

#include <vellum/convert/monodither_p.h>

#include <QRgb>
#include <QVector>

namespace vellum::convert {

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
