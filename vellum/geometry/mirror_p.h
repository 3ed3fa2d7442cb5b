// The mirror driver behind Vellum::mirrored(), and its kernels.
#pragma once

#include <vellum/image/storage.h>
#include <vellum/image/vellum.h>

namespace vellum::geometry {

/// vellum::mirrored() on \a storage, also with both flags clear; \a image may not be null.
[[nodiscard]] Vellum mirroredOnto(Storage storage, const Vellum &image, bool horizontal,
                                  bool vertical);

/// Writes \a source, mirrored, over \a destination, an image of the same size and format; they
/// may be the same object, which is then mirrored in place.
///
/// Percentages are handed to set_progress of \a source, whose answer is ignored: by pairs of rows
/// in place, and by rows when a copy is mirrored vertically only; other copies report nothing.
void do_mirror(Vellum *destination, const Vellum *source, bool horizontal, bool vertical);

/// Moves rows of \a width pixels, \a height of them. Pixel x of row y goes to pixel
/// startX + x * stepX of row startY + y * stepY; in place the two are exchanged, once per pair.
///
/// \param startX  last column and \a stepX -1 to mirror horizontally, else 0 and 1
/// \param startY  last row and \a stepY -1 to mirror vertically, else 0 and 1
using MirrorKernel = void(Vellum *destination, const Vellum *source, int startX, unsigned startY,
                          int stepX, int stepY, int width, int height);

MirrorKernel mirrorPixels8;
MirrorKernel mirrorPixels16;
MirrorKernel mirrorPixels24;
MirrorKernel mirrorPixels32;
MirrorKernel mirrorPixels64;

} // namespace vellum::geometry
