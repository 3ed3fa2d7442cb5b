#include "bitmap/bmpencoder.h"

#include "bitmap/bmpheader.h"
#include "shared/device.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>

namespace vellum::plugin {

namespace {

using namespace bmp;

template <typename T>
void put(QByteArray &bytes, int at, T value)
{
    qToLittleEndian<T>(value, bytes.data() + at);
}

QVector<QRgb> greyLevels()
{
    QVector<QRgb> levels;
    levels.reserve(256);
    for (int i = 0; i < 256; ++i)
        levels.append(qRgb(i, i, i));
    return levels;
}

QVector<QRgb> colorTable(const Picture &picture, Encoding encoding)
{
    switch (encoding) {
    case Encoding::Mono:
        return picture.colorTable.size() == 2 ? picture.colorTable
                                              : QVector<QRgb> {0xff000000, 0xffffffff};
    case Encoding::Indexed8:
        return picture.colorTable.mid(0, 256);
    case Encoding::Gray8:
        return greyLevels();
    default:
        return {};
    }
}

int bitsFor(Encoding encoding, int colors)
{
    switch (encoding) {
    case Encoding::Mono:
        return 1;
    case Encoding::Indexed8:
    case Encoding::Gray8:
        return colors <= 16 ? 4 : 8;
    case Encoding::Rgba8:
        return 32;
    default:
        return 24;
    }
}

} // namespace

BmpEncoder::BmpEncoder(QIODevice &device, const QLoggingCategory &category)
    : m_device(device), m_category(category)
{
}

Encoding BmpEncoder::encodingFor(Encoding natural) const
{
    switch (natural) {
    case Encoding::Gray16:
        return Encoding::Gray8;
    case Encoding::Rgb16:
        return Encoding::Rgb8;
    case Encoding::Rgba16:
        return Encoding::Rgba8;
    default:
        return natural;
    }
}

bool BmpEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    const QVector<QRgb> colors = colorTable(picture, encoding);
    m_width = picture.size.width();
    m_bits = bitsFor(encoding, colors.size());
    m_profile = picture.icc;

    const int headerBytes = !m_profile.isEmpty() ? kV5HeaderBytes
        : m_bits == 32                           ? kV4HeaderBytes
                                                 : kInfoHeaderBytes;
    const qint64 rowBytes = (qint64(m_width) * m_bits + 31) / 32 * 4;
    const qint64 pixelBytes = rowBytes * picture.size.height();
    const qint64 pixelsAt = kFileHeaderBytes + headerBytes + 4 * colors.size();
    const qint64 fileBytes = pixelsAt + pixelBytes + m_profile.size();
    if (fileBytes > std::numeric_limits<quint32>::max()) {
        qCWarning(m_category, "a BMP file cannot hold more than 4 GiB");
        return false;
    }
    m_row.assign(size_t(rowBytes), 0);

    QByteArray file(kFileHeaderBytes, '\0');
    file[0] = 'B';
    file[1] = 'M';
    put<quint32>(file, 2, quint32(fileBytes));
    put<quint32>(file, 10, quint32(pixelsAt));

    QByteArray info(headerBytes, '\0');
    put<qint32>(info, 0, headerBytes);
    put<qint32>(info, kWidthAt, m_width);
    put<qint32>(info, kHeightAt, picture.size.height());
    put<quint16>(info, kPlanesAt, 1);
    put<quint16>(info, kBitsAt, quint16(m_bits));
    put<quint32>(info, kPixelBytesAt, quint32(pixelBytes));
    put<qint32>(info, kResolutionXAt, picture.dotsPerMeterX);
    put<qint32>(info, kResolutionYAt, picture.dotsPerMeterY);
    put<qint32>(info, kColorsAt, colors.size());
    if (m_bits == 32) {
        put<quint32>(info, kCompressionAt, kBitFields);
        constexpr quint32 kMasks[] = {0x00ff0000, 0x0000ff00, 0x000000ff, 0xff000000};
        for (int i = 0; i < 4; ++i)
            put<quint32>(info, kMasksAt + 4 * i, kMasks[i]);
    }
    if (headerBytes >= kV4HeaderBytes)
        put<quint32>(info, kColorSpaceAt, m_profile.isEmpty() ? kDefault : kEmbeddedProfile);
    if (!m_profile.isEmpty()) {
        constexpr quint32 kPerceptual = 4;
        put<quint32>(info, kIntentAt, kPerceptual);
        put<quint32>(info, kProfileAt, quint32(pixelsAt + pixelBytes - kFileHeaderBytes));
        put<qint32>(info, kProfileBytesAt, m_profile.size());
    }

    QByteArray table;
    for (const QRgb color : colors) {
        const char entry[4] = {char(qBlue(color)), char(qGreen(color)), char(qRed(color)), 0};
        table.append(entry, 4);
    }
    const QByteArray all = file + info + table;
    return writeExactly(m_device, all.constData(), all.size());
}

bool BmpEncoder::writeRow(const uchar *row, const uchar *)
{
    pack(row);
    return writeExactly(m_device, m_row.data(), qint64(m_row.size()));
}

void BmpEncoder::pack(const uchar *in)
{
    uchar *out = m_row.data();
    switch (m_bits) {
    case 1:
        std::memcpy(out, in, (size_t(m_width) + 7) / 8);
        if (m_width % 8 != 0) // what stands behind the last pixel is no business of the file's
            out[m_width / 8] &= uchar(0xff << (8 - m_width % 8));
        return;
    case 4:
        std::fill(m_row.begin(), m_row.end(), uchar(0));
        for (int x = 0; x < m_width; ++x)
            out[x / 2] |= uchar(x % 2 == 0 ? in[x] << 4 : in[x] & 15);
        return;
    case 24:
        for (int x = 0; x < m_width; ++x, in += 3, out += 3)
            std::reverse_copy(in, in + 3, out);
        return;
    case 32:
        for (int x = 0; x < m_width; ++x, in += 4, out += 4) {
            std::reverse_copy(in, in + 3, out);
            out[3] = in[3];
        }
        return;
    default:
        std::memcpy(out, in, size_t(m_width));
    }
}

bool BmpEncoder::writeEnd()
{
    return writeExactly(m_device, m_profile.constData(), m_profile.size());
}

} // namespace vellum::plugin
