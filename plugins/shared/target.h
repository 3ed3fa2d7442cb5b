// The image that a read fills: a Vellum, plain or big, or any QImage.
#pragma once

#include "shared/picture.h"

class Vellum;

namespace vellum::plugin {

/// Hides which of the two it is. What a file says replaces everything that an earlier file left.
class ReadTarget
{
public:
    explicit ReadTarget(QImage *image);

    /// Null for a plain QImage.
    Vellum *vellum() const { return m_vellum; }

    unsigned int readOptions() const; ///< of a Vellum; 0 for a plain QImage

    /// Makes room for \a size pixels of \a format: keeps a storage that fits, plain or big, and
    /// otherwise makes a plain one. \return false when it cannot be had
    [[nodiscard]] bool prepare(const QSize &size, QImage::Format format);

    /// Row \a y of a loop that walks down, after polling; null means stop.
    uchar *row(int y);
    /// Row \a y of a loop that walks up, after polling; null means stop.
    uchar *rowFromBelow(int y);
    /// Row \a y without polling.
    uchar *unpolledRow(int y);
    /// Polls with \a position of height() rows done. \return false for stop
    [[nodiscard]] bool poll(int position) const;
    int height() const { return m_image->height(); }

    /// Room for extra channels of 8 or 16 bits; what the image held is freed first.
    /// \return row 0, with \a stride bytes to the next; null for a plain QImage, for no channels,
    ///         or without memory
    uchar *allocateChannels(int channels, int bits, int &stride);

    /// Sets all that stands beside the pixels: always profile (or QColorSpace) and colour table,
    /// EXIF block, resolution, offset and texts, also to none.
    void describe(const Picture &picture);

private:
    template <typename Set>
    void withImage(Set set);
    void replaceTexts(const QVector<Text> &texts);
    void replaceExif(const QByteArray &exif);
    void releaseExif();

    QImage *m_image;
    Vellum *m_vellum;
};

} // namespace vellum::plugin
