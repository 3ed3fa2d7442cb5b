// Reading and writing HRLE files, this library's own format for 8-bit images such as masks.
#pragma once

#include <vellum/export.h>
#include <vellum/io/hrleheader.h>

class QDataStream;
class QString;
class Vellum;

/// Reads and writes HRLE, a format for 8-bit grey images with large uniform areas.
///
/// A file has the headers of a Windows bitmap (vellum::HrleFileHeader, vellum::HrleInfoHeader),
/// but is none. Run-length data describes equal bytes within a row and equal consecutive rows; an
/// image that does not shrink to about a tenth is stored as raw rows instead. Rows wider than
/// 16777215 bytes cannot be run-length encoded faithfully.
///
/// Use one object per read or write. Progress is reported through the callback of the image, on
/// the calling thread, once per row; when it answers false the operation stops and fails.
///
/// \code
/// Vellum mask;
/// if (HrleHandler().readFile(mask, "mask.hrle"))
///     HrleHandler().writeFile("copy.hrle", mask);
/// \endcode
class VELLUM_EXPORT HrleHandler
{
public:
    HrleHandler() = default;

    /// Reads \a fileName as readStream() does; false also when it cannot be opened.
    bool readFile(Vellum &image, const QString &fileName);

    /// Makes \a image a plain Grayscale8 image of the file that begins at the current position of
    /// \a stream, with its resolution (0 leaves QImage's default); the ICC profile and callback of
    /// \a image are kept.
    ///
    /// A file that ends too soon is no failure: the pixels that it lacks are zero. So are those
    /// that broken run-length data does not describe, and all pixels under an unknown compression.
    /// vellum::checkHrle() tells complete files from damaged ones. Memory is needed for the
    /// pixels that the header states (at most 1073741824), not for what it claims beside them.
    ///
    /// The byte order of \a stream becomes little-endian. Sequential devices work when they block
    /// or have all data ready, and when the data follows the headers directly.
    ///
    /// \return false, with \a image as it was, when the headers are no HRLE headers, the depth is
    ///         not 8, nothing follows the headers or \a stream has no device; false, with \a image
    ///         null, when memory runs out or the user cancelled
    bool readStream(QDataStream &stream, Vellum &image);

    /// Writes \a image to \a fileName, which is created or overwritten.
    ///
    /// \return whether the file could be opened, by design, and whatever became of the writing;
    ///         use writeStream() to learn that
    bool writeFile(const QString &fileName, const Vellum &image);

    /// Writes \a image, plain or big, at the current position of \a stream.
    ///
    /// An image whose depth is not 8, a null image included, gets nothing but the 14-byte file
    /// header, by design, and the result is true. Bytes that the rows of a big image lack because
    /// its store is narrower than the image are written as zeros. A resolution of 0 is written as
    /// 2834 pixels per metre.
    ///
    /// Images of more than 1073741824 pixels can be written, but not read.
    ///
    /// Rows are polled top to bottom while they are encoded; if the image then has to be written
    /// raw, they are polled again, bottom to top. The debug message "Rle_Encode size=" gives the
    /// encoded size in bytes, -1 when the image does not compress well enough. The byte order of
    /// \a stream becomes little-endian.
    ///
    /// \return false when a write fails, \a stream has no writable device, memory runs out, the
    ///         image has 2147483648 pixels or more, a row cannot be had or the user cancelled;
    ///         what was written until then stays
    bool writeStream(QDataStream &stream, const Vellum &image);

private:
    bool readHeader(QDataStream &stream);
    bool readBody(QDataStream &stream, Vellum &image) const;
    bool writeBody(QDataStream &stream, const Vellum &image);

    vellum::HrleFileHeader m_fileHeader;
    vellum::HrleInfoHeader m_infoHeader;
    qint64 m_headerStart = 0; // position of the file header in the device
};
