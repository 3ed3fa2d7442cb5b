// Pictures to be filled.
#pragma once

#include "storage.h"
#include <vellum/image/vellum.h>

namespace vellum::tool {

/// A picture of undefined content on \a storage; null when memory runs out.
Vellum emptyPicture(const QSize &size, QImage::Format format, Storage storage);

} // namespace vellum::tool
