// The second half of mirroring a one-bit row, after its bytes have changed places.
#pragma once

#include <vellum/image/bitorder_p.h>

namespace vellum::geometry {

/// Reverses the bits in each of \a bytes bytes of \a row and moves the whole row by what the last
/// byte of pixels has unused, so that the first pixel stands at the first bit again.
///
/// \param width  of the image, in pixels; at least 1
/// \param bytes  all bytes of the row, padding included: it moves along
void mirrorBitsInRow(uchar *row, int width, image::BitOrder order, qptrdiff bytes);

} // namespace vellum::geometry
