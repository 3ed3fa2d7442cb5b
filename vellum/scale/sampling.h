// Scaling by picking: every result pixel is one source pixel.
#pragma once

#include <vellum/export.h>

class QRect;
class QSize;
class Vellum;

/// Makes \a dst the part \a rect of \a src scaled to \a size, without mixing pixels.
///
/// The pixel at column \c x of the target is that of source column <tt>int(x * (double(source
/// width) / target width))</tt>, bit for bit, and the same for rows. One-bit rows are read and
/// written from the most significant bit on, whatever their format. The result has the format
/// and colour table of \a src and, unless \a dst is reused, rows in one buffer.
///
/// A \a dst that already has the size of the result keeps format and storage and is written over,
/// so that one buffer serves many calls; it is made anew only where a row of it has no room for a
/// row of the result, or where its rows are those of a big \a src. It may be \a src itself.
///
/// \param dst       the result
/// \param src       plain or big, of any format; hears about progress after every result row,
///                  with the percentage done as position, and cannot cancel
/// \param size      of the whole target, in pixels
/// \param rect      the wanted part, in target pixels; what lies outside the target is cut off
/// \param deepCopy  whether \a dst gets pixels of its own when nothing is scaled or cut off;
///                  otherwise it then shares those of \a src
/// \param refSize   size of an image of which \a src is a reduced copy: positions are first
///                  truncated to pixels of that image, then to pixels of \a src, and so agree with
///                  positions taken from the full image. Empty for none
/// \return false when \a src is null, when nothing of the target is wanted (\a dst is untouched
///         then), or when memory runs out
///
/// Rows that a big \a src does not hold, and pixels beyond the end of a stored row, are left out:
/// zero in a \a dst that is made here. Cost follows \a rect; runs on the calling thread.
VELLUM_EXPORT bool fast_scale_image(Vellum &dst, const Vellum &src, const QSize &size,
                                    const QRect &rect, bool deepCopy, const QSize &refSize);
