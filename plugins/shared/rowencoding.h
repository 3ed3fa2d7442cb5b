// How a row of an image becomes one of a file.
#pragma once

#include "shared/encoder.h"
#include "shared/knowncolors.h"
#include <vellum/color/lcmsmanager.h>

#include <memory>
#include <vector>

class Vellum;

namespace vellum::plugin {

/// Room for the stages of one row.
struct RowBuffers
{
    std::vector<uchar> whole; ///< a row that the image stores only in part
    std::vector<uchar> colors; ///< in the profile
    QImage converted; ///< in another format
    std::vector<uchar> packed; ///< without the samples that the encoding lacks, or inks
};

/// What one thread keeps from row to row.
struct RowWorker
{
    std::unique_ptr<KnownColors> inks;
};

/// Set up by WriteSource. Encoding rows is for any number of threads, each with buffers and a
/// worker of its own.
class RowEncoding
{
    Q_DISABLE_COPY(RowEncoding)

public:
    /// \param image  outlives this
    RowEncoding(const QImage &image, Vellum *vellum);

    /// Rows become \a encoding, without a change of colours. Cmyk8 takes the image's transform.
    void setEncoding(Encoding encoding);

    /// Rows go from sRGB to \a icc first. \return false, with nothing changed, when there is no
    /// such transform
    [[nodiscard]] bool convertTo(QByteArray icc);

    /// In which rows leave the image's own format.
    QImage::Format rowFormat() const { return m_rowFormat; }

    /// Whether rows change at all.
    bool isNeeded() const;

    /// \a row encoded: the row itself, or one in \a buffers; null without memory.
    const uchar *encoded(const uchar *row, RowBuffers &buffers, RowWorker &worker);

private:
    const uchar *complete(const uchar *row, RowBuffers &buffers) const;
    const uchar *inProfile(const uchar *row, RowBuffers &buffers);
    const uchar *converted(const uchar *row, RowBuffers &buffers) const;
    const uchar *inCmyk(const uchar *row, RowBuffers &buffers, RowWorker &worker);

    const QImage &m_image;
    Vellum *m_vellum; // null for a plain QImage
    int m_width;
    qint64 m_imageRowBytes;
    bool m_isStoredInPart;
    bool m_isGrey; // levels that are no indices, for want of a table
    QVector<QRgb> m_colorTable;
    Encoding m_encoding = Encoding::Rgb8;
    QImage::Format m_rowFormat;
    bool m_toProfile = false;
    CVlLcmsManager m_manager;
};

} // namespace vellum::plugin
