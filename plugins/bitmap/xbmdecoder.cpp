#include "bitmap/xbmdecoder.h"

#include <QBuffer>

namespace vellum::plugin {

namespace {

bool endsWith(const std::string &text, const char *end)
{
    return QByteArray::fromStdString(text).endsWith(end);
}

/// Behind the sign '#': fills in what is defined, if it is a side of the picture.
bool readSide(CTokens &tokens, QSize &size)
{
    if (tokens.next() != CTokens::Word || tokens.text() != "define" ||
        tokens.next() != CTokens::Word)
        return false;
    const std::string name = tokens.text();
    if (tokens.next() == CTokens::End)
        return false;
    if (endsWith(name, "width"))
        size.setWidth(tokens.number());
    else if (endsWith(name, "height"))
        size.setHeight(tokens.number());
    return true;
}

} // namespace

bool isXbm(QIODevice &device)
{
    constexpr qint64 kFarEnough = 4096; // comments may come first
    QByteArray head = device.peek(kFarEnough);
    QBuffer buffer(&head);
    buffer.open(QIODevice::ReadOnly);
    ByteReader bytes(buffer);
    CTokens tokens(bytes);
    QSize size;
    return tokens.next() == CTokens::Sign && tokens.isSign('#') && readSide(tokens, size) &&
        (size.width() > 0 || size.height() > 0);
}

XbmDecoder::XbmDecoder(QIODevice &device, const QLoggingCategory &category)
    : m_category(category), m_bytes(device)
{
}

bool XbmDecoder::readHeader(Picture &picture)
{
    constexpr int kMostTokens = 1000; // a text that has more before its bits is none of these
    for (int i = 0; i < kMostTokens; ++i) {
        const CTokens::Kind kind = m_tokens.next();
        if (kind == CTokens::End || kind == CTokens::Quote)
            break;
        if (kind == CTokens::Word && m_tokens.text() == "short")
            m_bytesPerWord = 2;
        if (m_tokens.isSign('#') && !readSide(m_tokens, m_size))
            break;
        if (m_tokens.isSign('{') && !m_size.isEmpty()) {
            picture.size = m_size;
            picture.format = QImage::Format_MonoLSB;
            picture.colorTable = {0xffffffff, 0xff000000};
            return true;
        }
    }
    qCWarning(m_category, "the text has no bits of known size");
    return false;
}

QRect XbmDecoder::start(const QRect &) { return {QPoint(0, 0), m_size}; }

int XbmDecoder::nextWord()
{
    CTokens::Kind kind = m_tokens.next();
    while (kind == CTokens::Sign && m_tokens.isSign(','))
        kind = m_tokens.next();
    return kind == CTokens::Word ? m_tokens.number() : -1;
}

bool XbmDecoder::readRow(uchar *row, uchar *)
{
    const int rowBytes = int((qint64(m_size.width()) + 7) / 8);
    for (int at = 0; at < rowBytes; at += m_bytesPerWord) {
        const int word = nextWord();
        if (word < 0)
            return false;
        row[at] = uchar(word);
        if (m_bytesPerWord == 2 && at + 1 < rowBytes)
            row[at + 1] = uchar(word >> 8);
    }
    return true;
}

void XbmDecoder::readEnd(Picture &)
{
    CTokens::Kind kind = m_tokens.next();
    while (kind == CTokens::Word || (kind == CTokens::Sign && !m_tokens.isSign(';')))
        kind = m_tokens.next();
    m_bytes.release();
}

} // namespace vellum::plugin
