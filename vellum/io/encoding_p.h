// Pictures on their way into a file: made ready, then encoded.
#pragma once

#include <vellum/image/vellum.h>
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

/// Makes \a image what \a encoder takes: colours, format, storage. On failure it is undefined.
[[nodiscard]] SaveResult makeReady(Vellum &image, const Encoder &encoder,
                                   const SaveOptions &options, JobProgress &progress);

/// Writes \a image, made ready, and the images linked behind it, to \a device.
[[nodiscard]] SaveResult encode(Vellum &image, const Encoder &encoder, QIODevice &device,
                                const SaveOptions &options, JobProgress &progress);

} // namespace vellum::io
