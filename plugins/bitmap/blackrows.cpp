#include "bitmap/blackrows.h"

#include <vellum/convert/bitreverse_p.h>
#include <vellum/convert/monokernels_p.h>

namespace vellum::plugin {

namespace {

bool isSecondLighter(const QVector<QRgb> &colors)
{
    return colors.size() == 2 ? qGray(colors[0]) < qGray(colors[1]) : colors.isEmpty();
}

} // namespace

BlackRows::BlackRows(const Picture &picture, Encoding encoding, bool lowestFirst)
    : m_width(picture.size.width()), m_isMono(encoding == Encoding::Mono),
      m_isInverted(m_isMono && isSecondLighter(picture.colorTable)), m_lowestFirst(lowestFirst),
      m_bits((size_t(m_width) + 7) / 8)
{
    if (m_isMono)
        return;
    m_greys.resize(size_t(m_width) + 2 * convert::kDiffusePad);
    m_scratch.resize(m_greys.size());
    m_errors.resize(size_t(m_width));
}

const std::vector<uchar> &BlackRows::bits(const uchar *row)
{
    m_isMono ? copyBits(row) : dither(row);
    return m_bits;
}

void BlackRows::copyBits(const uchar *row)
{
    const uchar flip = m_isInverted ? 0xff : 0;
    for (uchar &byte : m_bits)
        byte = *row++ ^ flip;
    if (m_width % 8 != 0)
        m_bits.back() &= uchar(0xff << (8 - m_width % 8));
    if (m_lowestFirst) {
        for (uchar &byte : m_bits)
            byte = convert::kReversedBits[byte];
    }
}

void BlackRows::dither(const uchar *row)
{
    uchar *const greys = m_greys.data() + convert::kDiffusePad;
    for (int x = 0; x < m_width; ++x, row += 3)
        greys[x] = uchar(qGray(row[0], row[1], row[2]));
    uchar *const bits = m_bits.data();
    convert::diffuseRowsPortable({greys, qint64(m_greys.size()), m_errors.data(), m_scratch.data(),
                                  &bits, m_width, m_lowestFirst},
                                 1);
}

} // namespace vellum::plugin
