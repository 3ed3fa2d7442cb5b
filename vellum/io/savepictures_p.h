// One picture, or several, into a device or a file.
#pragma once

#include <vellum/io/saveimage.h>

#include <QVector>

class QIODevice;
class Vellum;

namespace vellum::io {

/// Saves \a pages, at least one, as \a file.
[[nodiscard]] SaveResult savePictures(const QVector<const Vellum *> &pages, const QString &file,
                                      const SaveOptions &options);

/// Writes \a pages, at least one, to \a device.
[[nodiscard]] SaveResult writePictures(const QVector<const Vellum *> &pages, QIODevice &device,
                                       const SaveOptions &options);

} // namespace vellum::io
