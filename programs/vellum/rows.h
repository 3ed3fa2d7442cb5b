// Pictures in another pixel format or on another storage, row by row.
#pragma once

#include "storage.h"
#include <vellum/vellum.h>

namespace vellum::tool {

class Progress;

/// \a picture with the same metadata in \a format, on \a storage; \a picture itself if it is so
/// already.
///
/// Each row is converted as QImage::convertToFormat does it; formats that dither over several rows
/// (the monochrome ones) are not for this function. A null image when memory runs out or the user
/// cancels.
Vellum arranged(const Vellum &picture, QImage::Format format, Storage storage, Progress &progress);

/// Gives \a to the colour space, resolution, text and ICC profile of \a from, and its colour table
/// if both have the same format.
void copyMetadata(Vellum &to, const Vellum &from);

/// Sets the bytes between the end of each row's pixels and the next row to zero. Some files hold
/// rows with them, and what decoders leave there is anything.
void clearPadding(Vellum &picture);

} // namespace vellum::tool
