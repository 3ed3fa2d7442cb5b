// Sub-sampled YCbCr pixels, which lie in clumps that share their colour.
#pragma once

#include <QSize>

namespace vellum::plugin::tiff {

/// Gives each pixel its own Y, Cb, Cr, rows of 3 * size.width() bytes.
///
/// \param clumps  one after the other, from left to right and top to bottom: all Y, row by row,
///                then Cb and Cr; those at the right and the lower edge are complete too
/// \param size    in pixels
/// \param clump   pixels of a clump
void spreadClumps(uchar *out, const uchar *clumps, const QSize &size, const QSize &clump);

} // namespace vellum::plugin::tiff
