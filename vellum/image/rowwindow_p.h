// A big picture of which only a few rows exist at a time.
#pragma once

#include <vellum/image/vellum.h>

namespace vellum::image {

/// A window of rows that moves over a picture, for a loop that makes rows in order and another
/// that uses them soon after. Images that look at it are big ones with the size of the picture.
/// Rows that are rows() apart share their memory: who writes the one overwrites the other.
class RowWindow
{
public:
    RowWindow(); ///< Without rows.
    ~RowWindow();
    Q_DISABLE_COPY(RowWindow)

    /// Makes a window of at least \a rows rows of a picture of \a size pixels in \a format; of all
    /// rows when there are not so many.
    /// \return false when the picture is empty or too large, or memory runs out
    [[nodiscard]] bool make(const QSize &size, QImage::Format format, int rows);

    /// Makes \a image, whose attachments are forgotten, an image that shows the window. Several
    /// may: each has a base of its own, so that none of them copies anything when it is written
    /// to. \return false, with \a image null, when address space runs out
    [[nodiscard]] bool show(Vellum &image) const;

    /// Rows that are there at the same time.
    int rows() const;

    /// Every so many rows, counted from the top, lie in one piece of memory, bytesPerLine() apart.
    int rowsInOnePiece() const;

private:
    QSize m_size;
    QImage::Format m_format = QImage::Format_Invalid;
    QExplicitlySharedDataPointer<RowStore> m_store;
};

} // namespace vellum::image
