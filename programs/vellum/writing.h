// Writing a picture to a file of any kind.
#pragma once

#include "filejobs.h"
#include "storage.h"
#include <vellum/vellum.h>

#include <QByteArray>
#include <QString>

namespace vellum::tool {

class OutputFile;
class Progress;

/// The kind of file that \a fileName asks for, as QImageWriter calls it; empty for HRLE. Throws a
/// Failure for a folder or an unknown kind.
QByteArray outputKind(const QString &fileName);

/// Throws a Failure if no file of \a kind can hold a picture of \a size.
void checkFits(const QByteArray &kind, const QSize &size, const QString &fileName);

/// \a picture in the format that a file of \a kind has, on \a storage. Throws a Failure if memory
/// runs out or the user cancels.
Vellum prepared(const Vellum &picture, const QByteArray &kind, Storage storage, Progress &progress,
                OutputFile &output);

/// How a picture is to be written.
struct WriteWishes
{
    QByteArray exif; ///< a block to go along
    QByteArray press; ///< the CMYK profile of the inks to write; empty: none
    ColorConversion conversion; ///< to these inks
    EncodingOptions encoding;
};

/// What the library is told of it. \a progress must outlive the result.
SaveOptions saveOptions(const WriteWishes &wishes, const QByteArray &kind, Progress &progress);

/// Writes what prepared() returned. Throws a Failure if that is not possible or the user cancels.
void writePicture(Vellum &picture, const WriteWishes &wishes, const QByteArray &kind,
                  Progress &progress, OutputFile &output);

/// "67 x 41 RGB32, plain"
QString described(const Vellum &picture);

} // namespace vellum::tool
