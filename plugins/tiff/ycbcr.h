// YCbCr pixels of 8 bits as RGB, after TIFF 6.0, section 21.
#pragma once

#include <QColor>

#include <array>
#include <tiffio.h>

namespace vellum::plugin::tiff {

class YCbCrTable
{
public:
    /// Takes coefficients and the range of the codes from the current directory of \a tiff.
    explicit YCbCrTable(TIFF *tiff);

    /// Opaque.
    QRgb rgb(uchar y, uchar cb, uchar cr) const
    {
        const int r = m_light[y] + m_redOfCr[cr];
        const int g = m_greenLight[y] + m_greenOfCb[cb] + m_greenOfCr[cr];
        const int b = m_light[y] + m_blueOfCb[cb];
        return qRgb(bounded(r), bounded(g), bounded(b));
    }

private:
    static constexpr int kOne = 1 << 16;

    static int bounded(int value) { return qBound(0, (value + kOne / 2) >> 16, 255); }
    static int fixed(double value);

    std::array<int, 256> m_light;
    std::array<int, 256> m_greenLight;
    std::array<int, 256> m_redOfCr;
    std::array<int, 256> m_greenOfCb;
    std::array<int, 256> m_greenOfCr;
    std::array<int, 256> m_blueOfCb;
};

} // namespace vellum::plugin::tiff
