// What a directory says beside its pixels.
#pragma once

#include "shared/picture.h"
#include "tiff/layout.h"
#include "tiff/rowsource.h"

namespace vellum::plugin::tiff {

/// Profile, resolution, offset, orientation, texts, the XMP packet among them, and the names of
/// extra channels.
void readTags(TIFF *tiff, const Layout &layout, Picture &picture);

/// The same for writing; \a picture.exif aside.
void writeTags(TIFF *tiff, const Picture &picture, bool hasAlpha);

/// The EXIF block of the current directory, made of its EXIF and GPS directories and of what the
/// block repeats of the picture's own; empty when it has neither.
QByteArray readExif(const Directory &directory, TIFF *tiff);

/// Writes the EXIF and GPS directories of \a block to the end of \a stream and refers to them in
/// the current directory of \a tiff, which gets the texts that \a picture lacks.
/// \return false when the stream fails
[[nodiscard]] bool writeExif(TIFF *tiff, WriteStream &stream, const QByteArray &block, bool big);

} // namespace vellum::plugin::tiff
