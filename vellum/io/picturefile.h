// A picture file that is looked at first and read later.
#pragma once

#include <vellum/export.h>
#include <vellum/io/handleroptions.h>
#include <vellum/io/openimage.h>

#include <QByteArray>
#include <QImage>
#include <QImageIOHandler>
#include <QSize>

#include <memory>

class Vellum;

namespace vellum {

/// What is known of a picture before its pixels are read.
struct PictureInfo
{
    QByteArray kind; ///< "png", "hrle", ...
    QSize size; ///< upright, in pixels; empty if unknown
    QImage::Format format = QImage::Format_Invalid; ///< as decoded; invalid if unknown
    QImageIOHandler::Transformations transformation; ///< that turns it upright
    int pages = 1; ///< in the file; 1 too where the decoder does not tell

    /// Unknown except of HRLE files and of what the library's own plugins read; unless it is known,
    /// neither are \c profile and \c dotsPerMeter.
    StoredColors colors = StoredColors::Unknown;
    QByteArray profile; ///< ICC, of the pixels as stored; empty if the file has none
    QSize dotsPerMeter; ///< of the upright picture; empty if the file does not say
};

/// Bytes that the pixels of a picture take, rows padded to a multiple of 4 bytes; 0 when \a size or
/// \a format is empty.
VELLUM_EXPORT qint64 pixelBytes(const QSize &size, QImage::Format format);

/// An open picture file: openImage() in two steps.
///
/// Works on pipes too, which can be opened only once.
class VELLUM_EXPORT PictureFile
{
    Q_DISABLE_COPY(PictureFile)

public:
    /// Opens \a file and reads its header; checks a \c .hrle file from end to end.
    explicit PictureFile(const QString &file);
    ~PictureFile();

    /// Done when the file is a picture; else why it cannot be read. Of damage, what does not take
    /// decoding to find: that of \c .hrle files.
    const OpenResult &result() const;

    /// The first page, or the one last looked at or read.
    const PictureInfo &info() const;

    /// Goes on to \a page, from 0 on, without reading its pixels, so that info() tells of it.
    /// \return NotFound, and info() as it was, when there is no such page, or it lies behind
    ///         and the decoder cannot go back
    OpenResult lookAt(int page);

    /// Reads one page as openImage() does. A page can be read once, and none before it afterwards.
    OpenResult read(Vellum &image, const OpenOptions &options = {});

    struct Private; ///< For the library's own use.

private:
    std::unique_ptr<Private> d;
};

} // namespace vellum
