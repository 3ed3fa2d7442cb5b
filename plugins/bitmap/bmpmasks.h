// Colours whose parts lie anywhere in a pixel.
#pragma once

#include <QRgb>

#include <array>

namespace vellum::plugin {

/// One part of a colour, told by the bits it occupies.
class BmpChannel
{
public:
    /// \param mask  one run of bits; of more than eight the highest eight count
    /// \param none  the level without bits
    BmpChannel(quint32 mask, int none);

    int level(quint32 pixel) const { return m_levels[pixel >> m_shift & m_mask]; } ///< 0 to 255

private:
    int m_shift = 0;
    quint32 m_mask = 0; // of the bits, shifted down
    std::array<uchar, 256> m_levels {};
};

class BmpMasks
{
public:
    /// \param masks  of red, green, blue, alpha; without the last pixels are opaque
    explicit BmpMasks(const std::array<quint32, 4> &masks)
        : m_red(masks[0], 0), m_green(masks[1], 0), m_blue(masks[2], 0), m_alpha(masks[3], 255)
    {
    }

    QRgb color(quint32 pixel) const
    {
        return qRgba(m_red.level(pixel), m_green.level(pixel), m_blue.level(pixel),
                     m_alpha.level(pixel));
    }

private:
    BmpChannel m_red;
    BmpChannel m_green;
    BmpChannel m_blue;
    BmpChannel m_alpha;
};

} // namespace vellum::plugin
