#include <vellum/image/derived_p.h>
#include <vellum/io/striprows_p.h>

#include <cstring>
#include <utility>

namespace vellum::io {

StripRows::StripRows(const Vellum &source, const image::RowWindow &window, RowOrder order,
                     RowConversion convert)
    : m_source(source), m_stripRows(window.rowsInOnePiece()), m_order(order),
      m_convert(std::move(convert))
{
}

/// Rows in the first \a strips strips. From the bottom up, the first one may be smaller.
int StripRows::end(int strips) const
{
    const qint64 height = m_source.height();
    const qint64 all = (height + m_stripRows - 1) / m_stripRows;
    if (m_order == RowOrder::TopDown)
        return int(qMin(height, qint64(strips) * m_stripRows));
    return strips == 0 ? 0 : int(height - qMax<qint64>(0, all - strips) * m_stripRows);
}

bool StripRows::convertNext()
{
    const int done = rowsConverted();
    const int rows = rowsNeeded() - done;
    const int top = m_order == RowOrder::TopDown ? done : m_source.height() - done - rows;
    if (rows < 1)
        return false;
    // QImage has no constructor for rows that are only read and have an owner elsewhere.
    Vellum strip(const_cast<uchar *>(m_source.scanLineEx(top)), m_source.width(), rows,
                 m_source.format());
    if (strip.isNull())
        return false;
    image::carryDescription(strip, m_source);
    const Vellum result = m_convert(strip);
    if (result.size() != strip.size() || !image::isComplete(result))
        return false;
    if (m_image.isNull() && !begin(result))
        return false;
    if (result.format() != m_image.format())
        return false;
    for (int y = 0; y < rows; ++y) {
        std::memcpy(m_image.scanLineEx(top + y), result.scanLineEx(y),
                    size_t(result.bytesPerLine()));
    }
    ++m_strips;
    return true;
}

bool StripRows::begin(const Vellum &strip)
{
    const int rows = int(qMin<qint64>(qint64(m_stripRows) + kRowsBehind + 1, m_source.height()));
    if (!m_window.make(m_source.size(), strip.format(), rows) || !m_window.show(m_image))
        return false;
    image::carryDescription(m_image, strip);
    return true;
}

} // namespace vellum::io
