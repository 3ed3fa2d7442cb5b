// Run-length encoded rows of BMP files.
#pragma once

#include "bitmap/bytereader.h"

namespace vellum::plugin {

/// Gives rows in the order of the file. Pixels that the file jumps over have index 0.
class BmpRunLength
{
public:
    /// \param bits   per pixel, 4 or 8
    /// \param width  of the picture, in pixels
    BmpRunLength(ByteReader &bytes, int bits, int width);

    /// Writes one byte per pixel. \return false when the file ends before the row does
    [[nodiscard]] bool readRow(uchar *row);

private:
    void putRun(uchar *row, int count, int value);
    bool putLiterals(uchar *row, int count);
    void put(uchar *row, int index);

    ByteReader &m_bytes;
    bool m_isNibbles;
    int m_width;
    int m_x = 0; // next pixel of the row
    int m_nextX = 0; // where the next row with pixels starts
    int m_emptyRows = 0; // to come before it
    bool m_ended = false;
};

} // namespace vellum::plugin
