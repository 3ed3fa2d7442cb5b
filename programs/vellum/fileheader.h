// What files say in their first bytes, and QImageReader only tells after decoding, or never.
#pragma once

class QIODevice;

namespace vellum::tool {

/// Pixels per metre; 0 where the file does not say.
struct Resolution
{
    int x = 0;
    int y = 0;
};

/// The resolution that a PNG, JPEG (JFIF), BMP or HRLE file states. QImage has a default in its
/// place when there is none.
Resolution statedResolution(QIODevice &file);

} // namespace vellum::tool
