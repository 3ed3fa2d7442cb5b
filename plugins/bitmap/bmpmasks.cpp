#include "bitmap/bmpmasks.h"

#include <QtAlgorithms>

namespace vellum::plugin {

namespace {

/// \a value of \a bits bits, 1 to 8, repeated to fill 8 bits: the largest becomes 255.
uchar widened(quint32 value, int bits)
{
    quint32 wide = value << (8 - bits);
    for (int filled = bits; filled < 8; filled *= 2)
        wide |= wide >> filled;
    return uchar(wide);
}

} // namespace

BmpChannel::BmpChannel(quint32 mask, int none)
{
    if (mask == 0) {
        m_levels.fill(uchar(none));
        return;
    }
    m_shift = int(qCountTrailingZeroBits(mask));
    int bits = 32 - m_shift - int(qCountLeadingZeroBits(mask));
    if (bits > 8) {
        m_shift += bits - 8;
        bits = 8;
    }
    m_mask = (1U << bits) - 1;
    for (quint32 value = 0; value <= m_mask; ++value)
        m_levels[value] = widened(value, bits);
}

} // namespace vellum::plugin
