// Writing pictures for an application: complete files or none, colours, and what went wrong.
#pragma once

#include <vellum/color/convertcolors.h>
#include <vellum/export.h>
#include <vellum/image/progress.h>
#include <vellum/io/filestatus.h>
#include <vellum/io/limits.h>

#include <QByteArray>
#include <QString>

#include <atomic>
#include <optional>

class QIODevice;
class Vellum;

namespace vellum {

/// How a picture is to be saved. What a kind of file does not know is ignored.
struct SaveOptions
{
    QByteArray format; ///< such as "jpg"; what the suffix of the file says when empty

    int quality = -1; ///< 0 to 100; -1 for the format's default
    int compression = -1; ///< on the format's scale; -1 for its default
    bool progressive = false;
    bool optimized = false;
    QByteArray subType; ///< one of the format's own; its default when empty

    /// What the pixels of the image are: OpenResult::colors of a picture that was opened.
    PixelColors colors = PixelColors::Srgb;
    /// The profile to which colours are converted and that is embedded. When empty, the colours
    /// stay as they are: with the image's profile for PixelColors::FileOwn, with none for sRGB.
    QByteArray profile;
    /// The inks of the CMYK profile above, or of "cmyk.icm" when that is empty, where a plugin
    /// writes them, which it declares by "VellumCmyk": true in its metadata.
    bool cmyk = false;
    ColorConversion conversion; ///< to the profile or the inks, but for black preservation

    /// Nothing is written, but the file that would be is made and its bytes are counted.
    bool sizeOnly = false;

    std::optional<Limits> limits; ///< defaultLimits() when not given; for plain copies

    /// Gets 0 to 100 over the whole job, never less than before, and answers true to go on.
    ProgressGuard::Report progress;
    const std::atomic<bool> *cancel = nullptr; ///< stops the job once it is true
};

/// What became of saving a picture.
struct SaveResult
{
    FileStatus status = FileStatus::Done;
    /// One clause for a person, in English, that says what is wrong; empty when done.
    QString message;
    qint64 bytes = 0; ///< of the file; 0 unless done

    explicit operator bool() const { return status == FileStatus::Done; }
};

/// Saves \a image as \a file, which is created or replaced.
///
/// The target is replaced by a complete file at the end, and not at all when anything goes wrong
/// or somebody says "stop": until then an existing file stays as it was. The file is written
/// beside it, in its folder, and keeps the permissions of the old one. A symbolic link stays, and
/// what it points to is replaced.
///
/// A big image is handed only to plugins that declare, by "Vellum": true in their metadata, that
/// they read a Vellum; for all others it is copied to plain memory if the limits allow that. Those
/// come first, whatever the order of plugins. Formats without a plugin are written by Qt. The
/// plugin gets an image that shares the pixels of \a image, has its EXIF data and extra channels,
/// and is the only one of its chain; see savePages().
///
/// HRLE, which the ending ".hrle" or the format "hrle" selects, gets the picture in 8-bit grey.
///
/// \param image  its progress callback is called like that of \a options, with a stand-in for the
///               image
VELLUM_EXPORT SaveResult saveImage(const Vellum &image, const QString &file,
                                   const SaveOptions &options = {});

/// Writes \a image to \a device, open for writing, which is the caller's to complete or throw
/// away. \a options must name the format.
VELLUM_EXPORT SaveResult saveImage(const Vellum &image, QIODevice &device,
                                   const SaveOptions &options);

} // namespace vellum
