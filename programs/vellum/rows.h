// Pictures in another pixel format or on another storage.
#pragma once

#include "storage.h"
#include <vellum/vellum.h>

namespace vellum::tool {

class Progress;

/// \a picture with the same metadata in \a format, on \a storage; \a picture itself if it is so
/// already.
///
/// Pixels are converted as QImage::convertToFormat does it. A null image when memory runs out or
/// the user cancels.
Vellum arranged(const Vellum &picture, QImage::Format format, Storage storage, Progress &progress);

/// Gives \a to the colour space, resolution, text and ICC profile of \a from, and its colour table
/// if both have the same format.
void copyMetadata(Vellum &to, const Vellum &from);

} // namespace vellum::tool
