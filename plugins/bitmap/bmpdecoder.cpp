#include "bitmap/bmpdecoder.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace vellum::plugin {

BmpDecoder::BmpDecoder(QIODevice &device, const QLoggingCategory &category)
    : m_category(category), m_bytes(device)
{
}

bool BmpDecoder::readHeader(Picture &picture)
{
    if (const char *const problem = readBmpHeader(m_bytes, m_header)) {
        qCWarning(m_category, "%s", problem);
        return false;
    }
    if (m_header.isRunLength())
        m_runLength.emplace(m_bytes, m_header.bits, m_header.size.width());
    if (m_header.bits > 8)
        m_masks.emplace(m_header.masks);

    picture.size = m_header.size;
    picture.bottomUp = m_header.bottomUp;
    picture.format = m_header.bits == 1 ? QImage::Format_Mono
        : m_header.bits <= 8            ? QImage::Format_Indexed8
        : m_header.masks[3] != 0        ? QImage::Format_ARGB32
                                        : QImage::Format_RGB32;
    picture.colorTable = m_header.colors;
    picture.dotsPerMeterX = m_header.dotsPerMeterX;
    picture.dotsPerMeterY = m_header.dotsPerMeterY;
    picture.isSrgb = m_header.isSrgb;
    if (m_header.profileBytes > 0)
        picture.icc = m_bytes.peekAt(m_header.profileAt, m_header.profileBytes);
    return true;
}

int BmpDecoder::maxExpansion() const
{
    if (m_header.isRunLength())
        return 128; // two bytes make 255 pixels
    return m_header.bits == 1 ? 1 : 2; // 4 bits become 8, 16 and 24 become 32
}

/// In the file, without the padding.
qint64 BmpDecoder::rowBytes() const
{
    return (qint64(m_header.size.width()) * m_header.bits + 7) / 8;
}

QRect BmpDecoder::start(const QRect &wanted)
{
    const QRect whole(QPoint(0, 0), m_header.size);
    if (m_runLength)
        return whole;
    m_row.resize(size_t((rowBytes() + 3) & ~qint64(3)));
    m_isBroken = !m_bytes.skip(qint64(m_row.size()) * wanted.y());
    return whole.adjusted(0, wanted.y(), 0, 0);
}

bool BmpDecoder::readRow(uchar *row, uchar *)
{
    if (m_runLength) {
        if (!m_runLength->readRow(row))
            return false;
        keepIndicesInTable(row);
        return true;
    }
    // Some files end without the padding of the last row.
    const qint64 padding = qint64(m_row.size()) - rowBytes();
    if (m_isBroken || !m_bytes.read(m_row.data(), rowBytes()))
        return false;
    m_isBroken = !m_bytes.skip(padding);
    unpack(row);
    return true;
}

void BmpDecoder::unpack(uchar *out) const
{
    const int width = m_header.size.width();
    switch (m_header.bits) {
    case 4:
        for (int x = 0; x < width; ++x) {
            const uchar pair = m_row[size_t(x / 2)];
            out[x] = x % 2 == 0 ? pair >> 4 : pair & 15;
        }
        return keepIndicesInTable(out);
    case 8:
        std::memcpy(out, m_row.data(), size_t(width));
        return keepIndicesInTable(out);
    case 1:
        std::memcpy(out, m_row.data(), size_t(rowBytes()));
        return;
    default:
        return unpackColors(out);
    }
}

void BmpDecoder::unpackColors(uchar *out) const
{
    const int bytes = m_header.bits / 8;
    const uchar *in = m_row.data();
    const auto store = [&](auto colorAt) {
        for (int x = 0; x < m_header.size.width(); ++x, in += bytes, out += 4) {
            const QRgb color = colorAt(in);
            std::memcpy(out, &color, sizeof color);
        }
    };
    if (bytes == 2)
        store([this](const uchar *p) { return m_masks->color(qFromLittleEndian<quint16>(p)); });
    else if (bytes == 3)
        store([](const uchar *p) { return qRgb(p[2], p[1], p[0]); });
    else
        store([this](const uchar *p) { return m_masks->color(qFromLittleEndian<quint32>(p)); });
}

/// Not every program that meets the pixels looks whether their indices have a colour.
void BmpDecoder::keepIndicesInTable(uchar *row) const
{
    const int last = m_header.colors.size() - 1;
    if (last >= 255)
        return;
    std::transform(row, row + m_header.size.width(), row,
                   [last = uchar(last)](uchar index) { return qMin(index, last); });
}

bool BmpDecoder::foresee(int, Picture &)
{
    return m_header.profileBytes == 0 || m_bytes.canSeek(); // then it has been fetched
}

void BmpDecoder::readEnd(Picture &picture)
{
    // What could be fetched beforehand has been.
    const qint64 gap = m_header.profileAt - m_bytes.position();
    if (m_header.profileBytes > 0 && !m_bytes.canSeek() && gap >= 0 && m_bytes.skip(gap))
        picture.icc = m_bytes.readUpTo(m_header.profileBytes);
    m_bytes.release();
}

} // namespace vellum::plugin
