#include "bitmap/pnmdecoder.h"

#include "shared/device.h"

#include <QRgba64>
#include <QtEndian>

#include <cstring>
#include <limits>

namespace vellum::plugin {

namespace {

constexpr int kMostOfByte = 0xff;
constexpr int kMostOfAll = 0xffff;

bool isSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(int c) { return c >= '0' && c <= '9'; }

template <typename Pixel>
void store(uchar *row, int x, Pixel pixel)
{
    std::memcpy(row + qptrdiff(x) * qptrdiff(sizeof pixel), &pixel, sizeof pixel);
}

} // namespace

std::optional<PnmKind> pnmKind(QIODevice &device)
{
    if (!startsWith(device, "P"))
        return {};
    const QByteArray head = peekAll(device, 3);
    if (head.size() < 3 || head[1] < '1' || head[1] > '6' || !(isSpace(head[2]) || head[2] == '#'))
        return {};
    return PnmKind((head[1] - '1') % 3);
}

PnmDecoder::PnmDecoder(QIODevice &device, const QLoggingCategory &category)
    : m_category(category), m_bytes(device)
{
}

/// A comment counts as the end of its line.
int PnmDecoder::nextOfText()
{
    int c = m_bytes.next();
    if (c == '#') {
        while (c != '\n' && c != '\r' && c != ByteReader::kEnd)
            c = m_bytes.next();
    }
    return c;
}

/// Takes the byte behind the number too.
int PnmDecoder::number()
{
    int c = nextOfText();
    while (isSpace(c))
        c = nextOfText();
    if (!isDigit(c))
        return -1;
    qint64 value = 0;
    for (; isDigit(c); c = nextOfText())
        value = qMin(value * 10 + (c - '0'), qint64(std::numeric_limits<int>::max()));
    return c == ByteReader::kEnd && m_rowsLeft != 0 ? -1 : int(value);
}

bool PnmDecoder::readHeader(Picture &picture)
{
    const int letter = m_bytes.next();
    const int digit = m_bytes.next();
    if (letter != 'P' || digit < '1' || digit > '6')
        return false;
    m_isPlain = digit <= '3';
    m_kind = PnmKind((digit - '1') % 3);
    m_size.setWidth(number());
    m_size.setHeight(number());
    m_most = m_kind == PnmKind::Bits ? 1 : number();
    if (m_size.isEmpty() || m_most < 1 || m_most > kMostOfAll) {
        qCWarning(m_category, "the header has no valid size");
        return false;
    }

    const bool isWide = m_most > kMostOfByte;
    switch (m_kind) {
    case PnmKind::Bits:
        m_format = QImage::Format_Mono;
        picture.colorTable = {0xffffffff, 0xff000000};
        break;
    case PnmKind::Greys:
        m_format = isWide ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
        break;
    case PnmKind::Colors:
        m_format = isWide ? QImage::Format_RGBX64 : QImage::Format_RGB32;
        break;
    }
    const int top = isWide ? kMostOfAll : kMostOfByte;
    m_levels.resize(size_t(m_most) + 1);
    for (int i = 0; i <= m_most; ++i)
        m_levels[size_t(i)] = quint16((qint64(i) * top + m_most / 2) / m_most);

    picture.size = m_size;
    picture.format = m_format;
    picture.subType = keyOf(m_kind);
    return true;
}

qint64 PnmDecoder::rawRowBytes() const
{
    const qint64 width = m_size.width();
    if (m_kind == PnmKind::Bits)
        return (width + 7) / 8;
    return width * (m_kind == PnmKind::Colors ? 3 : 1) * (m_most > kMostOfByte ? 2 : 1);
}

QRect PnmDecoder::start(const QRect &wanted)
{
    const QRect whole(QPoint(0, 0), m_size);
    m_rowsLeft = m_size.height();
    if (m_isPlain)
        return whole;
    m_row.resize(size_t(rawRowBytes()));
    m_isBroken = !m_bytes.skip(rawRowBytes() * wanted.y());
    return whole.adjusted(0, wanted.y(), 0, 0);
}

bool PnmDecoder::readRow(uchar *row, uchar *)
{
    --m_rowsLeft;
    if (m_isPlain) {
        if (m_kind == PnmKind::Bits)
            return readPlainBits(row);
        bool isWhole = true;
        putRow(row, [&] {
            const int sample = number();
            isWhole = isWhole && sample >= 0;
            return scaled(qMax(0, sample));
        });
        return isWhole;
    }
    if (m_isBroken || !m_bytes.read(m_row.data(), rawRowBytes()))
        return false;
    const uchar *in = m_row.data();
    if (m_kind == PnmKind::Bits) {
        std::memcpy(row, in, m_row.size());
    } else if (m_most <= kMostOfByte) {
        putRow(row, [&] { return scaled(*in++); });
    } else {
        putRow(row, [&] {
            const int sample = qFromBigEndian<quint16>(in);
            in += 2;
            return scaled(sample);
        });
    }
    return true;
}

/// Digits may stand side by side.
bool PnmDecoder::readPlainBits(uchar *row)
{
    std::memset(row, 0, size_t(rawRowBytes()));
    for (int x = 0; x < m_size.width(); ++x) {
        int c = nextOfText();
        while (isSpace(c))
            c = nextOfText();
        if (c != '0' && c != '1')
            return false;
        row[x / 8] |= uchar((c - '0') << (7 - x % 8));
    }
    return true;
}

template <typename NextSample>
void PnmDecoder::putRow(uchar *row, NextSample nextSample) const
{
    const int width = m_size.width();
    switch (m_format) {
    case QImage::Format_Grayscale8:
        for (int x = 0; x < width; ++x)
            row[x] = uchar(nextSample());
        break;
    case QImage::Format_Grayscale16:
        for (int x = 0; x < width; ++x)
            store(row, x, quint16(nextSample()));
        break;
    case QImage::Format_RGB32:
        for (int x = 0; x < width; ++x) {
            const int red = nextSample();
            const int green = nextSample();
            store(row, x, qRgb(red, green, nextSample()));
        }
        break;
    default:
        for (int x = 0; x < width; ++x) {
            const auto red = quint16(nextSample());
            const auto green = quint16(nextSample());
            store(row, x, qRgba64(red, green, quint16(nextSample()), quint16(kMostOfAll)));
        }
    }
}

void PnmDecoder::readEnd(Picture &)
{
    if (m_isPlain && m_kind == PnmKind::Bits)
        m_bytes.next(); // as number() does
    m_bytes.release();
}

} // namespace vellum::plugin
