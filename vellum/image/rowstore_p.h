// Owner of the memory of a row-block store, shared by the images that show it.
#pragma once

#include <vellum/image/rowblocks.h>

#include <QSharedData>

namespace vellum::image {

/// A RowBlockBuffer that frees its blocks with its last holder.
///
/// The holders are the Vellum objects whose rows it holds. Counting them here, beside the count
/// of the QImageData, is what lets copies be assigned, re-allocated and destroyed in any order.
class RowStore : public QSharedData, public RowBlockBuffer
{
public:
    /// Allocates room for \a height rows of \a bytesPerLine bytes each.
    ///
    /// A size of zero succeeds with blocks that hold nothing.
    /// \return null when memory runs out or a size is negative or not representable;
    ///         \a failedBlock is then the index of the block that could not be had
    [[nodiscard]] static RowStore *allocate(qint64 bytesPerLine, int height, int &failedBlock);

    /// Allocates a window of at least \a window rows that moves over \a height rows, at least 1,
    /// of \a bytesPerLine bytes each, at least 1: rows that are windowRows() apart share their
    /// memory. A window that would hold them all does.
    /// \return null when memory runs out or a size is not representable
    [[nodiscard]] static RowStore *allocateWindow(qint64 bytesPerLine, int height, int window);

    RowStore(const RowStore &) = delete;
    RowStore &operator=(const RowStore &) = delete;
    ~RowStore();

    /// First byte of row \a y, or null when the store has no such row.
    uchar *row(int y) const
    {
        if (y < 0 || y >= m_rows)
            return nullptr;
        return blocks[y / rowsPerBlock] + qptrdiff(y % rowsPerBlock) * bytesPerLine;
    }

    /// How many rows follow row \a y, which the store has, in its block.
    int rowsBelow(int y) const { return qMin(rowsPerBlock - 1 - y % rowsPerBlock, m_rows - 1 - y); }

    /// Rows that have memory of their own.
    qint64 windowRows() const { return qint64(m_owned) * rowsPerBlock; }

    size_t blockBytes() const { return size_t(rowsPerBlock) * size_t(bytesPerLine); }

private:
    RowStore() : RowBlockBuffer {} { }

    int m_rows = 0; // rows asked for; 0 when a row has no bytes
    int m_owned = 0; // blocks; those behind are the same ones over and over again
};

} // namespace vellum::image
