// From a picture file into another file, without ever holding the picture.
#pragma once

#include <vellum/export.h>
#include <vellum/io/openimage.h>
#include <vellum/io/saveimage.h>

#include <QString>

#include <functional>

class QIODevice;
class Vellum;

namespace vellum {

class PictureFile;

/// Makes of a strip, some whole rows of a picture with all that describes it, the strip that is to
/// be written: one of the same size.
///
/// It must treat every row for itself, and every strip alike: all results have one format. What
/// the first one says of the picture, such as its profile, holds for the file; the picture's EXIF
/// data goes along by itself. The strip's pixels go away when the call returns. A null image says
/// that it cannot be done.
///
/// \code
/// const auto toPrintProfile = [&](const Vellum &strip) {
///     return vellum::convertColors(strip, strip.getIccProfile(), printProfile);
/// };
/// \endcode
using RowConversion = std::function<Vellum(const Vellum &strip)>;

/// What became of streamPicture().
struct StreamResult
{
    enum Outcome {
        NotPossible, ///< nothing has been read or written: go by way of an image
        Done,
        ReadingFailed, ///< \c opened says why; what was written is of no use
        WritingFailed, ///< \c saved says why, and \c opened how far reading came
    };

    Outcome outcome = NotPossible;
    QString obstacle; ///< why it is not possible, one clause for a person, in English
    OpenResult opened;
    SaveResult saved;

    explicit operator bool() const { return outcome == Done; }
};

/// Reads a picture from \a file and writes it to \a device, while it holds some rows of it only.
///
/// The bytes that are written are those that saveImage() writes of the image that
/// PictureFile::read() gives, after it went through \a conversion. Reading goes on on a thread of
/// its own, side by side with writing.
///
/// Possible where reading and writing go through the rows in the same order, once, and nothing
/// needs more than a row at a time. Both plugins say so, by "VellumRows": true in their metadata
/// and by kReadOrder and kWriteOrder; not possible are in particular
/// - what is wished of the result: a format other than OpenedFormat::AsDecoded, colours other than
///   PixelColors::FileOwn, SaveOptions::sizeOnly;
/// - files that have to be turned upright, or whose decoder cannot cut and reduce by itself;
/// - interlaced files, extra channels, and files with data behind the pixels that cannot be
///   looked at beforehand, because they come through a pipe;
/// - BMP to or from what is not stored from the bottom up; HRLE; all that Qt reads or writes;
/// - what would fail anyway, such as a missing page: the other way says why.
///
/// \param file     a page can be read once, as by PictureFile::read()
/// \param openOptions  as for PictureFile::read(); where the pixels would lie is of no account. Of
///                 the limits, that of memory is for the rows that are held. With keepDamaged, zero
///                 bytes stand for what is missing, and the file is complete: the outcome is
///                 Done, with the damage in \c opened.
/// \param device   open for writing; the caller's to complete or throw away
/// \param saveOptions  must name the format; SaveOptions::colors says what the pixels are after
///                 \a conversion. The profile, or CMYK, that it asks for is made on the way.
/// \param conversion  may be empty. Called on the calling thread, for strips in the order of rows.
///
/// The progress callbacks of both options are called on the calling thread, each with its own
/// side's percentage, and cancel either side. While rows are waited for they are called some twenty
/// times a second. What they throw passes through, after the reading thread has ended.
VELLUM_EXPORT StreamResult streamPicture(PictureFile &file, const OpenOptions &openOptions,
                                         QIODevice &device, const SaveOptions &saveOptions,
                                         const RowConversion &conversion = {});

} // namespace vellum
