// Reading pictures for an application: limits, storage, orientation, colours, and what went wrong.
#pragma once

#include <vellum/export.h>
#include <vellum/image/progress.h>
#include <vellum/image/storage.h>
#include <vellum/io/filestatus.h>
#include <vellum/io/limits.h>

#include <QRect>
#include <QSize>
#include <QString>

#include <atomic>
#include <optional>

class Vellum;

namespace vellum {

/// The pixel format of a picture that has been opened.
enum class OpenedFormat {
    /// At most 8 bits per channel, with alpha not multiplied in. Grayscale8 for grey palettes and
    /// Grayscale16; ARGB32 for RGB32, ARGB32_Premultiplied and all formats of 64 bits; any other
    /// as the decoder gives it.
    Common,
    Keep16Bits, ///< as Common, but Grayscale16, RGBX64 and RGBA64 stay
    AsDecoded, ///< what the decoder gives, unless colours have to be converted in another
};

/// How a picture is to be opened.
struct OpenOptions
{
    /// Where the pixels lie; when not given, big from bigFrom bytes on or when one allocation is
    /// refused, else plain.
    std::optional<Storage> storage;
    qint64 bigFrom = qint64(1) << 30; ///< bytes of pixels

    OpenedFormat format = OpenedFormat::Common;
    PixelColors colors = PixelColors::Srgb; ///< FileOwn: nothing is converted

    int page = 0; ///< of a file with several, from 0 on
    /// The part that is wanted, in pixels of the upright picture; all of it when null.
    QRect region;
    /// The size to which picture or region is reduced, upright, smoothly; its own when empty.
    QSize size;

    /// Delivers what could be read of a damaged picture, with zeros for the rest. The status is
    /// FileStatus::Damaged all the same.
    bool keepDamaged = false;

    std::optional<Limits> limits; ///< defaultLimits() when not given

    /// Gets 0 to 100 over the whole job, never less than before, and answers true to go on.
    ProgressGuard::Report progress;
    const std::atomic<bool> *cancel = nullptr; ///< stops the job once it is true
};

/// What became of opening a picture.
struct OpenResult
{
    FileStatus status = FileStatus::Done;
    /// One clause for a person, in English, that says what is wrong; empty when done.
    QString message;
    /// Rows that were read, from the top or, in some formats, from the bottom; -1 when the decoder
    /// does not tell.
    int rowsRead = -1;
    /// What the pixels are now. Without a profile in the file they are sRGB, and those of a CMYK
    /// file have been made so by its decoder. FileOwn also when they could not be converted
    /// because the profile is damaged or does not fit the pixels.
    PixelColors colors = PixelColors::Srgb;

    explicit operator bool() const { return status == FileStatus::Done; }
};

/// Reads the picture in \a file into \a image.
///
/// Looks at kind, size, format and pages first, and refuses what is over a limit before memory is
/// taken for it. Big images are filled directly by the plugins that declare, by "Vellum": true in
/// their metadata, that they fill a Vellum; all others read into plain memory, from where the rows
/// are moved.
///
/// The picture is turned upright as the file says, then colours are converted to sRGB, then the
/// format is made what \a options say: exactly, in every format, on either storage. Profile and
/// CMYK flag that the decoder found stay with the image through all of it, and so do EXIF data,
/// layer records and, if nothing is cut or reduced after decoding, extra channels. Colours do not
/// depend on orientation or depth: palettes are converted by their entries, 16-bit channels before
/// they are reduced, and grey stays grey. A profile that says no more than sRGB converts nothing.
///
/// When anything goes wrong \a image is as it was before, unless keepDamaged asks for a part. When
/// all is well it has the picture, and nothing of an earlier one but its progress callback, read
/// options, chain links and the flag for saving as CMYK.
///
/// \param image  its read options, but for KeepDamaged, are handed to the plugin, and its progress
/// callback is called
///               like that of \a options, with a stand-in for the image
/// \param file   name of the file. HRLE goes by the name, ".hrle", as Vellum::load() has it, and
///               is checked from end to end first; other kinds by their content
///
/// Qt's decoders cannot be asked to stop; their reading of the file fails once the job is
/// cancelled.
VELLUM_EXPORT OpenResult openImage(Vellum &image, const QString &file,
                                   const OpenOptions &options = {});

} // namespace vellum
