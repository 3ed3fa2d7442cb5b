#include <vellum/image/imagedata_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/sourcerows_p.h>

namespace vellum::scale {

bool Source::make(const Vellum &image, QImage::Format work, int first, int count)
{
    width = image.width();
    format = image.format();
    workFormat = work;
    storedBytes = int((qint64(width) * image.depth() + 7) / 8);
    colorTable = image.colorTable();
    if (image.storedBytesPerLine() < storedBytes)
        return false;
    if (!rows.make(first, count))
        return false;
    for (int y = first; y < rows.end(); ++y) {
        rows[y] = image.scanLineEx(y);
        if (!rows[y])
            return false;
    }
    return true;
}

/// Wrapped buffers may have any stride. What is not aligned is copied row by row: 64-bit pixels
/// need 16 bits, 32-bit ones 32, and bytes nothing.
bool SourceRows::isAligned(const uchar *row) const
{
    return m_source.storedBytes == m_source.width || quintptr(row) % 4 == 0;
}

const uchar *SourceRows::converted(int y)
{
    const auto slot = size_t(y % kValid);
    QImage &row = m_converted[slot];
    if (m_convertedRow[slot] != y) {
        QImage stored(m_source.rows[y], m_source.width, 1, m_source.storedBytes, m_source.format);
        if (!m_source.colorTable.isEmpty())
            stored.setColorTable(m_source.colorTable);
        row = m_source.format == m_source.workFormat ? stored.copy()
                                                     : stored.convertToFormat(m_source.workFormat);
        m_convertedRow[slot] = row.isNull() ? -1 : y;
    }
    return row.isNull() ? nullptr : row.constScanLine(0);
}

} // namespace vellum::scale
