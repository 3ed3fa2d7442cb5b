#include "bitmap/pnmencoder.h"

#include "shared/device.h"

#include <QtEndian>

namespace vellum::plugin {

namespace {

bool isWide(Encoding encoding)
{
    return encoding == Encoding::Gray16 || encoding == Encoding::Rgb16 ||
        encoding == Encoding::Rgba16;
}

} // namespace

Encoding PnmEncoder::encodingFor(Encoding natural) const
{
    switch (m_kind) {
    case PnmKind::Bits:
        return BlackRows::encodingFor(natural);
    case PnmKind::Greys:
        return isWide(natural) ? Encoding::Gray16 : Encoding::Gray8;
    case PnmKind::Colors:
        break;
    }
    return isWide(natural) ? Encoding::Rgb16 : Encoding::Rgb8;
}

bool PnmEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    const int width = picture.size.width();
    m_isWide = isWide(encoding);
    m_rowBytes = size_t(width) * (m_kind == PnmKind::Colors ? 3 : 1) * (m_isWide ? 2 : 1);
    if (m_isWide)
        m_row.resize(m_rowBytes);

    QByteArray header = "P" + QByteArray::number(4 + int(m_kind)) + "\n" +
        QByteArray::number(width) + " " + QByteArray::number(picture.size.height()) + "\n";
    if (m_kind == PnmKind::Bits)
        m_black = std::make_unique<BlackRows>(picture, encoding, false);
    else
        header += m_isWide ? "65535\n" : "255\n";
    return writeExactly(m_device, header.constData(), header.size());
}

bool PnmEncoder::writeRow(const uchar *row, const uchar *)
{
    if (m_black) {
        const std::vector<uchar> &bits = m_black->bits(row);
        return writeExactly(m_device, bits.data(), qint64(bits.size()));
    }
    if (m_isWide) {
        qToBigEndian<quint16>(row, qptrdiff(m_rowBytes / 2), m_row.data());
        row = m_row.data();
    }
    return writeExactly(m_device, row, qint64(m_rowBytes));
}

} // namespace vellum::plugin
