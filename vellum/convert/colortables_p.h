// Colour tables that conversions read or give to their results.
#pragma once

#include <QImage>
#include <QVector>

#include <array>

namespace vellum::convert {

/// 256 opaque greys: entry i is 0xff000000 + i * 0x010101.
const QVector<QRgb> &greyRamp();

/// 256 levels of alpha over black: entry i is i << 24.
const QVector<QRgb> &alphaRamp();

/// Weighted grey of a colour, 0 to 255, as one-bit dithering and indexed images use it.
constexpr uchar greyOf(QRgb color)
{
    return uchar((11 * (color >> 16 & 255) + 16 * (color >> 8 & 255) + 5 * (color & 255)) >> 5);
}

/// \a colors as pixels of \a format, which is RGB32, ARGB32 or ARGB32_Premultiplied.
///
/// A table without translucent entries stays as it is. Otherwise translucent entries become
/// opaque for RGB32 and all are premultiplied for ARGB32_Premultiplied.
QVector<QRgb> fixedColors(QVector<QRgb> colors, QImage::Format format);

/// What every index of an Indexed8 image is as a pixel of \a format, as for fixedColors() when the
/// image \a hasAlpha. When it has none, its colours stay as they are, translucent ones too: an
/// image says so of entries that QImage::setColorCount() added.
///
/// An empty table stands for the grey ramp. Indices beyond the table are black, transparent where
/// \a format has alpha.
std::array<QRgb, 256> pixelsOfIndices(const QVector<QRgb> &colors, bool hasAlpha,
                                      QImage::Format format);

/// \a colors completed to the two of a one-bit image: a missing 0 is black, a missing 1 white.
QVector<QRgb> completedToTwo(QVector<QRgb> colors);

/// byteOf(color) for the first 256 entries; 0 for indices beyond the table.
template <typename ByteOf>
std::array<uchar, 256> bytesOfIndices(const QVector<QRgb> &colors, ByteOf byteOf)
{
    std::array<uchar, 256> bytes {};
    const int count = qMin(256, colors.size());
    for (int i = 0; i < count; ++i)
        bytes[size_t(i)] = byteOf(colors.at(i));
    return bytes;
}

} // namespace vellum::convert
