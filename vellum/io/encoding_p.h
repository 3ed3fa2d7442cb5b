// Pictures on their way into a file: made ready, then encoded.
#pragma once

#include <vellum/image/vellum.h>
#include <vellum/io/handleroptions.h>
#include <vellum/io/imageplugins_p.h>
#include <vellum/io/jobprogress_p.h>
#include <vellum/io/saveimage.h>

class QIODevice;

namespace vellum::io {

/// Who writes a kind of file.
struct Encoder
{
    enum Kind {
        None,
        Hrle,
        Plugin,
        Qt, ///< one of Qt's own, for which there is no plugin
    };

    Kind kind = None;
    QByteArray format; ///< lower case
    ImagePlugin plugin {}; ///< for Plugin

    bool writesChains() const { return kind == Plugin && plugin.writesChains; }
    bool writesCmyk() const { return kind == Plugin && plugin.writesCmyk; }
    bool knowsVellum() const { return kind == Hrle || (kind == Plugin && plugin.knowsVellum); }
};

/// The encoder for \a format on \a device.
[[nodiscard]] Encoder findEncoder(const QByteArray &format, QIODevice &device);

[[nodiscard]] SaveResult saveFailure(FileStatus status, const QString &message);

/// The order in which encode() will ask for rows, see kWriteOrder.
[[nodiscard]] RowOrder writeOrder(const Encoder &encoder, QIODevice &device,
                                  const SaveOptions &options);

/// Whether \a encoder writes pictures of \a size as \a options have it.
[[nodiscard]] SaveResult checkEncoder(const Encoder &encoder, const QSize &size,
                                      const SaveOptions &options);

/// Whether changeColors() does more to \a image than to describe its colours.
[[nodiscard]] bool changesPixels(const Vellum &image, const SaveOptions &options);

/// Converts the colours of \a image to those that are to be in the file. On failure it is
/// undefined.
[[nodiscard]] SaveResult changeColors(Vellum &image, const SaveOptions &options,
                                      JobProgress &progress);

/// Has QColorSpace, which is what Qt's encoders embed, say the same as the profile of \a image.
void matchColorSpace(Vellum &image);

/// Makes \a image what \a encoder takes: colours, format, storage. On failure it is undefined.
[[nodiscard]] SaveResult makeReady(Vellum &image, const Encoder &encoder,
                                   const SaveOptions &options, JobProgress &progress);

/// Writes \a image, made ready, and the images linked behind it, to \a device.
[[nodiscard]] SaveResult encode(Vellum &image, const Encoder &encoder, QIODevice &device,
                                const SaveOptions &options, JobProgress &progress);

} // namespace vellum::io
