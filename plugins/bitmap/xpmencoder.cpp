#include "bitmap/xpmencoder.h"

#include "bitmap/cname.h"
#include "shared/device.h"

#include <QColor>

namespace vellum::plugin {

namespace {

constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.#";
constexpr int kBitsPerLetter = 6;
constexpr quint32 kLetterMask = (1 << kBitsPerLetter) - 1;

void appendKey(QByteArray &text, quint32 index, int bytes)
{
    for (int i = 0; i < bytes; ++i, index >>= kBitsPerLetter)
        text += kLetters[index & kLetterMask];
}

int keyBytesFor(int colors)
{
    int bytes = 1;
    while (qint64(colors) > qint64(1) << (kBitsPerLetter * bytes))
        ++bytes;
    return bytes;
}

QByteArray nameOf(QRgb color)
{
    return qAlpha(color) == 0 ? QByteArrayLiteral("None") : QColor(color).name().toLatin1();
}

} // namespace

XpmEncoder::XpmEncoder(QIODevice &device, const QLoggingCategory &category)
    : m_device(device), m_category(category)
{
}

Encoding XpmEncoder::encodingFor(Encoding natural) const
{
    switch (natural) {
    case Encoding::Mono:
    case Encoding::Indexed8:
        return Encoding::Indexed8;
    case Encoding::Gray8:
    case Encoding::Gray16:
        return Encoding::Gray8;
    case Encoding::Rgba8:
    case Encoding::Rgba16:
        return Encoding::Rgba8;
    default:
        return Encoding::Rgb8;
    }
}

bool XpmEncoder::writeHeader(const Picture &picture, Encoding encoding)
{
    m_size = picture.size;
    m_row.resize(m_size.width());
    if (encoding == Encoding::Rgb8 || encoding == Encoding::Rgba8) {
        m_colorBytes = encoding == Encoding::Rgb8 ? 3 : 4;
        if (m_stored.open())
            return true;
        qCWarning(m_category).noquote() << "no temporary file:" << m_stored.errorString();
        return false;
    }
    if (encoding == Encoding::Gray8) {
        for (int i = 0; i < 256; ++i)
            m_colors.append(qRgb(i, i, i));
    } else {
        m_colors = picture.colorTable;
        if (m_colors.isEmpty()) // of one bit, as QImage takes it then
            m_colors = {0xff000000, 0xffffffff};
    }
    return writeColors();
}

bool XpmEncoder::writeColors()
{
    m_keyBytes = keyBytesFor(m_colors.size());
    QByteArray header = "/* XPM */\nstatic char *" + cNameFor(m_device) +
        "[] = {\n/* columns rows colors chars-per-pixel */\n\"" +
        QByteArray::number(m_size.width()) + ' ' + QByteArray::number(m_size.height()) + ' ' +
        QByteArray::number(m_colors.size()) + ' ' + QByteArray::number(m_keyBytes) + "\"";
    for (int i = 0; i < m_colors.size(); ++i) {
        header += ",\n\"";
        appendKey(header, quint32(i), m_keyBytes);
        header += " c " + nameOf(m_colors[i]) + '"';
        constexpr int kEnough = 1 << 16;
        if (header.size() >= kEnough) {
            if (!writeExactly(m_device, header.constData(), header.size()))
                return false;
            header.resize(0);
        }
    }
    return writeExactly(m_device, header.constData(), header.size());
}

bool XpmEncoder::writeRow(const uchar *row, const uchar *)
{
    if (m_colorBytes > 0)
        return storeRow(row);
    const auto last = quint32(m_colors.size() - 1);
    return writePixels([&](int x) { return qMin(quint32(row[x]), last); });
}

bool XpmEncoder::storeRow(const uchar *row)
{
    for (quint32 &index : m_row) {
        const bool isTransparent = m_colorBytes == 4 && row[3] == 0;
        const QRgb color = isTransparent ? 0 : qRgb(row[0], row[1], row[2]);
        row += m_colorBytes;
        const auto found = m_indices.constFind(color);
        if (found != m_indices.constEnd()) {
            index = *found;
        } else {
            index = quint32(m_colors.size());
            m_indices.insert(color, index);
            m_colors.append(color);
        }
    }
    return writeExactly(m_stored, m_row.constData(), qint64(m_row.size()) * 4);
}

template <typename IndexAt>
bool XpmEncoder::writePixels(IndexAt indexAt)
{
    m_text = ",\n\"";
    for (int x = 0; x < m_size.width(); ++x)
        appendKey(m_text, indexAt(x), m_keyBytes);
    m_text += '"';
    return writeExactly(m_device, m_text.constData(), m_text.size());
}

bool XpmEncoder::writeStoredRows()
{
    if (!writeColors() || !m_stored.seek(0))
        return false;
    for (int y = 0; y < m_size.height(); ++y) {
        if (!readExactly(m_stored, m_row.data(), qint64(m_row.size()) * 4) ||
            !writePixels([this](int x) { return m_row[x]; }))
            return false;
    }
    return true;
}

bool XpmEncoder::writeEnd()
{
    constexpr char kEnd[] = "\n};\n";
    return (m_colorBytes == 0 || writeStoredRows()) &&
        writeExactly(m_device, kEnd, sizeof kEnd - 1);
}

} // namespace vellum::plugin
