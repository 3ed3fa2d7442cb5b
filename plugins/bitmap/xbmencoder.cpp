#include "bitmap/xbmencoder.h"

#include "bitmap/cname.h"
#include "shared/device.h"

namespace vellum::plugin {

bool XbmEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    m_black = std::make_unique<BlackRows>(picture, encoding, true);
    const QByteArray name = cNameFor(m_device);
    const QByteArray header = "#define " + name + "_width " +
        QByteArray::number(picture.size.width()) + "\n#define " + name + "_height " +
        QByteArray::number(picture.size.height()) + "\nstatic char " + name + "_bits[] = {\n";
    return writeExactly(m_device, header.constData(), header.size());
}

bool XbmEncoder::writeRow(const uchar *row, const uchar *)
{
    constexpr char kDigits[] = "0123456789abcdef";
    constexpr int kPerLine = 15;
    m_text.resize(0);
    for (const uchar byte : m_black->bits(row)) {
        if (m_bytesWritten > 0)
            m_text += m_bytesWritten % kPerLine == 0 ? ",\n" : ",";
        const char number[] = {' ', '0', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
        m_text.append(number, sizeof number);
        ++m_bytesWritten;
    }
    return writeExactly(m_device, m_text.constData(), m_text.size());
}

bool XbmEncoder::writeEnd()
{
    constexpr char kEnd[] = " };\n";
    return writeExactly(m_device, kEnd, sizeof kEnd - 1);
}

} // namespace vellum::plugin
