// Smooth scaling: averages where an axis shrinks, blends where it grows.
#pragma once

#include <vellum/export.h>

class QRect;
class QSize;
class Vellum;

/// Returns the part of a smooth (area-averaging) scaling of \a src that lies inside \a rect.
///
/// An axis that shrinks averages the source pixels under each result pixel by covered area; one
/// that grows, or stays, blends the two nearest. Fixed point: 14-bit area weights (16384 is one
/// result pixel), 8-bit blend weights; results truncate. Channels are averaged as stored, alpha
/// like the others, so translucent edges of Format_ARGB32 bleed the colour of what is
/// transparent; vellum::smoothScaled() knows better. 32-bit formats without alpha come out with
/// 255 in its place.
///
/// \param src   image of depth 8 (as Grayscale8 has), 32 (four 8-bit channels) or 64, plain or
///              big; both give the same. Other depths give an image of undefined content
/// \param size  the whole target in pixels; both sides at least 1
/// \param rect  the wanted part, in target pixels; at least one pixel, inside (0, 0, \a size)
/// \return plain image of rect.size() in src.format(); null when \a src is null, a row of it is
///         missing, a size or \a rect is not as said, or memory runs out (with the warning "QImage:
///         out of memory, returning null" when it was the result)
///
/// Cost follows \a rect, not \a size, and memory is the result and some tables, for big images
/// too. Reports no progress. Runs on the global thread pool when there is enough to do, and
/// returns when done; called from a worker of that pool it stays on that worker. The bytes do not
/// depend on the number of threads, nor on the processor.
VELLUM_EXPORT Vellum qSmoothScaleCropVellum(const Vellum &src, const QSize &size,
                                            const QRect &rect);
