// The rows of a source, from either storage, in the pixel format that the kernels get.
#pragma once

#include <vellum/scale/table_p.h>

#include <QImage>
#include <QVector>

#include <array>

class Vellum;

namespace vellum::scale {

/// Where the rows of a source are. Shared by all threads.
struct Source
{
    Table<const uchar *> rows;
    int width = 0;
    QImage::Format format = QImage::Format_Invalid;
    QImage::Format workFormat = QImage::Format_Invalid; ///< what the kernels get
    int storedBytes = 0; ///< of one row in format
    QVector<QRgb> colorTable;

    /// Finds the \a count rows from \a first on. The base of a big image is not touched.
    /// \return false when a row does not exist or is too short, or memory runs out
    [[nodiscard]] bool make(const Vellum &image, QImage::Format workFormat, int first, int count);
};

/// Reads a Source. Each thread has its own.
class SourceRows
{
public:
    /// A row stays valid until the fourth row after it is read.
    static constexpr int kValid = 4;

    explicit SourceRows(const Source &source) : m_source(source) { }

    /// Row \a y; null when memory for its conversion runs out.
    const uchar *row(int y)
    {
        const uchar *const stored = m_source.rows[y];
        return m_source.format == m_source.workFormat && isAligned(stored) ? stored : converted(y);
    }

private:
    bool isAligned(const uchar *row) const;
    const uchar *converted(int y);

    const Source &m_source;
    std::array<QImage, kValid> m_converted;
    std::array<int, kValid> m_convertedRow = {-1, -1, -1, -1};
};

} // namespace vellum::scale
