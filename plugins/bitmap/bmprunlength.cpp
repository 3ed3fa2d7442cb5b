#include "bitmap/bmprunlength.h"

#include <algorithm>

namespace vellum::plugin {

namespace {

/// What the second byte means when the first is 0; larger ones count pixels that follow.
enum Escape { EndOfRow = 0, EndOfPicture = 1, Jump = 2 };

} // namespace

BmpRunLength::BmpRunLength(ByteReader &bytes, int bits, int width)
    : m_bytes(bytes), m_isNibbles(bits == 4), m_width(width)
{
}

bool BmpRunLength::readRow(uchar *row)
{
    std::fill_n(row, m_width, uchar(0));
    if (m_ended)
        return true;
    if (m_emptyRows > 0) {
        --m_emptyRows;
        return true;
    }
    m_x = m_nextX;
    m_nextX = 0;
    for (;;) {
        const int count = m_bytes.next();
        const int value = m_bytes.next();
        if (value == ByteReader::kEnd)
            return m_x >= m_width; // the mark behind the last row may be lacking
        if (count > 0) {
            putRun(row, count, value);
        } else if (value == EndOfRow) {
            return true;
        } else if (value == EndOfPicture) {
            m_ended = true;
            return true;
        } else if (value == Jump) {
            const int right = m_bytes.next();
            const int down = m_bytes.next();
            if (down == ByteReader::kEnd)
                return false;
            m_x = qMin(m_x + right, m_width);
            if (down > 0) {
                m_nextX = m_x;
                m_emptyRows = down - 1;
                return true;
            }
        } else if (!putLiterals(row, value)) {
            return false;
        }
    }
}

/// Pixels behind the end of the row are dropped.
void BmpRunLength::put(uchar *row, int index)
{
    if (m_x < m_width)
        row[m_x++] = uchar(index);
}

void BmpRunLength::putRun(uchar *row, int count, int value)
{
    for (int i = 0; i < count; ++i)
        put(row, !m_isNibbles ? value : i % 2 == 0 ? value >> 4 : value & 15);
}

bool BmpRunLength::putLiterals(uchar *row, int count)
{
    int value = 0;
    for (int i = 0; i < count; ++i) {
        if (!m_isNibbles || i % 2 == 0) {
            value = m_bytes.next();
            if (value == ByteReader::kEnd)
                return false;
        }
        put(row, !m_isNibbles ? value : i % 2 == 0 ? value >> 4 : value & 15);
    }
    const int bytes = m_isNibbles ? (count + 1) / 2 : count;
    return bytes % 2 == 0 || m_bytes.next() != ByteReader::kEnd; // padded to 16 bits
}

} // namespace vellum::plugin
