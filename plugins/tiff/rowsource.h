// Rows of samples out of strips and tiles, one at a time.
#pragma once

#include "tiff/layout.h"
#include "tiff/stream.h"

#include <QRect>

#include <memory>
#include <vector>

namespace vellum::plugin::tiff {

/// A directory of a file, for whoever needs handles of his own at it.
struct Directory
{
    QIODevice &device;
    qint64 start; ///< of the file in the device
    quint64 offset; ///< of the directory in the file

    Handle open() const; ///< With codecs set to convert; null on failure.
};

/// \a count pixels of a row, from pixel \a first of \a samples on.
struct Segment
{
    const uchar *samples;
    int first;
    int count;
};

/// Decodes rows from the top to the bottom. Holds a row, or what the codec cannot give in less:
/// a row of tiles, or a strip.
class RowSource
{
    Q_DISABLE_COPY(RowSource)

public:
    RowSource() = default;
    virtual ~RowSource() = default;

    /// Only the columns and rows of \a wanted will be asked for.
    [[nodiscard]] virtual bool start(const QRect &wanted) = 0;

    /// Goes to the next row; false when it cannot be decoded.
    [[nodiscard]] virtual bool next() = 0;

    /// The wanted columns of the current row in \a plane, from left to right.
    const std::vector<Segment> &segments(int plane) const { return m_segments[size_t(plane)]; }

protected:
    std::vector<std::vector<Segment>> m_segments; // by plane
};

std::unique_ptr<RowSource> makeRowSource(const Directory &directory, const Layout &layout);

} // namespace vellum::plugin::tiff
