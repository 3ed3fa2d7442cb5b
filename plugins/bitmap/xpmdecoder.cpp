#include "bitmap/xpmdecoder.h"

#include "bitmap/xpmcolors.h"
#include "shared/device.h"

#include <QVector>

#include <cstring>

namespace vellum::plugin {

namespace {

constexpr int kMostKeyBytes = int(sizeof(quint64));
constexpr int kMostIndices = 256;
constexpr size_t kLongestLine = 4096; // of the strings before the pixels

quint64 keyOf(const std::string &line, int bytes)
{
    quint64 key = 0;
    for (int i = 0; i < bytes; ++i)
        key = key << 8 | uchar(line[size_t(i)]);
    return key;
}

} // namespace

bool isXpm(QIODevice &device) { return startsWith(device, "/* XPM"); }

XpmDecoder::XpmDecoder(QIODevice &device, const QLoggingCategory &category)
    : m_category(category), m_bytes(device)
{
}

bool XpmDecoder::readHeader(Picture &picture)
{
    const char *problem = readValues();
    if (!problem)
        problem = readColors(picture);
    if (problem) {
        qCWarning(m_category, "%s", problem);
        return false;
    }
    picture.size = m_size;
    return true;
}

/// \return null, or in English why there are none
const char *XpmDecoder::readValues()
{
    std::string line;
    if (!m_tokens.openString() || !m_tokens.readString(line, kLongestLine))
        return "there is no string with the size";
    const QList<QByteArray> words = QByteArray::fromStdString(line).simplified().split(' ');
    if (words.size() < 4)
        return "the size is not complete";
    m_size = {words[0].toInt(), words[1].toInt()};
    m_colors = words[2].toInt();
    m_keyBytes = words[3].toInt();
    if (m_size.isEmpty() || m_colors < 1 || m_keyBytes < 1)
        return "the size is not valid";
    return m_keyBytes <= kMostKeyBytes ? nullptr : "there are too many characters per pixel";
}

/// \return null, or in English why there are none
const char *XpmDecoder::readColors(Picture &picture)
{
    m_isIndexed = m_colors <= kMostIndices;
    bool hasAlpha = false;
    std::string line;
    for (int i = 0; i < m_colors; ++i) {
        if (!m_tokens.openString() || !m_tokens.readString(line, kLongestLine) ||
            line.size() < size_t(m_keyBytes))
            return "the colours break off";
        const auto color = xpmColor(QByteArray::fromStdString(line).mid(m_keyBytes));
        if (!color)
            return "a pixel has no colour";
        hasAlpha = hasAlpha || qAlpha(*color) != 255;
        m_pixels.insert(keyOf(line, m_keyBytes), m_isIndexed ? QRgb(i) : *color);
        if (m_isIndexed)
            picture.colorTable.append(*color);
    }
    picture.format = m_isIndexed ? QImage::Format_Indexed8
        : hasAlpha               ? QImage::Format_ARGB32
                                 : QImage::Format_RGB32;
    return nullptr;
}

QRect XpmDecoder::start(const QRect &) { return {QPoint(0, 0), m_size}; }

bool XpmDecoder::readRow(uchar *row, uchar *)
{
    if (m_isIndexed)
        return readPixels([row](int x, QRgb index) { row[x] = uchar(index); });
    return readPixels(
        [row](int x, QRgb color) { std::memcpy(row + qptrdiff(x) * 4, &color, sizeof color); });
}

/// \return false for a string that is too short, and for a pixel that is not defined
template <typename Put>
bool XpmDecoder::readPixels(Put put)
{
    if (!m_tokens.openString())
        return false;
    auto last = m_pixels.constBegin(); // runs of one colour are frequent
    for (int x = 0; x < m_size.width(); ++x) {
        quint64 key = 0;
        for (int i = 0; i < m_keyBytes; ++i) {
            const int c = m_bytes.next();
            if (c == '"' || c == ByteReader::kEnd)
                return false;
            key = key << 8 | uchar(c);
        }
        if (key != last.key()) {
            const auto found = m_pixels.constFind(key);
            if (found == m_pixels.constEnd())
                return false;
            last = found;
        }
        put(x, last.value());
    }
    int c = m_bytes.next();
    while (c != '"' && c != ByteReader::kEnd)
        c = m_bytes.next();
    return c == '"';
}

void XpmDecoder::readEnd(Picture &)
{
    CTokens::Kind kind = m_tokens.next();
    while (kind == CTokens::Word || (kind == CTokens::Sign && !m_tokens.isSign(';')))
        kind = m_tokens.next();
    m_bytes.release();
}

} // namespace vellum::plugin
