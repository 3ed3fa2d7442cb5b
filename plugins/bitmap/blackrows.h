// Rows for formats that know nothing but black and white.
#pragma once

#include "shared/encoder.h"

#include <vector>

namespace vellum::plugin {

/// Takes the rows of a picture from the top down and makes bits of them that are set where the
/// picture is black. Colours are dithered by diffusion of errors, as QImage does.
class BlackRows
{
public:
    static Encoding encodingFor(Encoding natural)
    {
        return natural == Encoding::Mono ? Encoding::Mono : Encoding::Rgb8;
    }

    /// \param encoding     of the rows: what encodingFor() answers
    /// \param lowestFirst  whether the leftmost pixel is the lowest bit of a byte, not the highest
    BlackRows(const Picture &picture, Encoding encoding, bool lowestFirst);

    /// The bits of the next row, 0 behind the last pixel; valid until the next call.
    const std::vector<uchar> &bits(const uchar *row);

private:
    void copyBits(const uchar *row);
    void dither(const uchar *row);

    int m_width;
    bool m_isMono;
    bool m_isInverted; // of one-bit pictures: a set bit is the lighter colour
    bool m_lowestFirst;
    std::vector<uchar> m_bits;
    std::vector<uchar> m_greys; // with room around them, as the dithering wants it
    std::vector<uchar> m_scratch;
    std::vector<qint16> m_errors; // of the row above
};

} // namespace vellum::plugin
