// EXIF blocks as the directories in them, and back.
#pragma once

#include "tiff/ifd.h"

namespace vellum::plugin::tiff {

/// The block with \a directories, from its byte-order mark on; empty when it cannot be made.
QByteArray exifBlockOf(const ExifDirectories &directories);

/// The directories of \a block in the byte order \a bigEndian; empty ones when it is damaged.
ExifDirectories exifDirectoriesOf(const QByteArray &block, bool bigEndian);

} // namespace vellum::plugin::tiff
