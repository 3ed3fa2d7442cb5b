// Pixels as geometry sees them: things of a size, whatever they mean.
#pragma once

#include <QtGlobal>

#include <cstring>

namespace vellum::geometry {

/// A pixel of 24 bits, or whichever size has no number type.
struct Pixel24
{
    uchar bytes[3];
};

/// \name Pixels number \a i of a row
/// Rows need not be aligned to the pixel size: strides are the caller's.
/// @{
template <typename Pixel>
inline Pixel loadPixel(const uchar *row, qptrdiff i)
{
    Pixel pixel;
    std::memcpy(&pixel, row + i * qptrdiff(sizeof(Pixel)), sizeof(Pixel));
    return pixel;
}

template <typename Pixel>
inline void storePixel(uchar *row, qptrdiff i, Pixel pixel)
{
    std::memcpy(row + i * qptrdiff(sizeof(Pixel)), &pixel, sizeof(Pixel));
}
/// @}

} // namespace vellum::geometry
