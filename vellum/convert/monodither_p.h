// Dithering to one bit per pixel.
#pragma once

#include <QtGlobal>

#include <memory>
#include <vector>

namespace vellum::convert {

enum class DitherMode { Threshold, Ordered, Diffuse };

/// What dithered bits mean: the darkness of a colour or the opacity of an alpha channel.
enum class MonoSense { Color, Alpha };

/// Dithers the rows of one image from top to bottom, keeping the errors between calls.
///
/// A value runs from 0 to 255; the smaller, the likelier its bit is set. For colours it is the
/// grey, so that a set bit is black; for alpha it is 255 - alpha, so that a set bit is opaque.
class MonoDither
{
public:
    /// Rows that are worked on together; only the last call for an image may bring fewer.
    static constexpr int kGroup = 8;

    MonoDither(int width, DitherMode mode, MonoSense sense, bool lsbFirst);

    /// Where the values of row \a i of the next group, 0 to kGroup - 1, are to be put.
    uchar *values(int i);

    /// Writes the bits of \a count rows to \a bits: (width + 7) / 8 bytes each, the unused bits
    /// of the last byte 0.
    void dither(uchar *const *bits, int count);

private:
    void ditherBelow(uchar *const *bits, int count);

    int m_width;
    DitherMode m_mode;
    MonoSense m_sense;
    bool m_lsbFirst;
    int m_row = 0; // of the image, next to be dithered
    size_t m_stride; // of m_values
    std::vector<uchar> m_values; // kGroup rows with zeros around them
    std::vector<qint16> m_errors; // of the last row, for the next
    std::vector<uchar> m_bits; // scratch of the vector form
};

} // namespace vellum::convert
