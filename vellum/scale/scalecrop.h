// Scaling and cropping in one step, smooth or by sampling.
#pragma once

#include <vellum/export.h>

#include <Qt>

class QRect;
class QSize;
class Vellum;

/// Makes \a dst the part \a rect of \a src scaled to \a size.
///
/// With Qt::SmoothTransformation, qSmoothScaleCropVellum() averages. Formats that it does not
/// take (those that have neither 32 nor 64 bits per pixel and are not Format_Grayscale8) become
/// Format_ARGB32 first; where a big \a src has no conversion to that, the result is null. One-bit
/// and indexed images are always sampled by fast_scale_image(), whatever the mode, as all are with
/// Qt::FastTransformation.
///
/// \param dst       the result. Sampling may reuse it, see fast_scale_image(); averaging replaces
///                  it. May be \a src itself
/// \param src       plain or big
/// \param size      of the whole target, in pixels
/// \param rect      the wanted part, in target pixels; what lies outside the target is cut off
/// \param deepCopy  whether \a dst gets pixels of its own when nothing is scaled or cut off;
///                  otherwise it then shares those of \a src
/// \param refSize   see fast_scale_image(); averaging ignores it
/// \return false when \a src is null, when nothing of the target is wanted (\a dst is untouched
///         then), or when sampling runs out of memory. True with a null \a dst when averaging
///         does: test that too
///
/// Sampling reports progress on \a src; neither way can be cancelled.
VELLUM_EXPORT bool image_scale_crop(Vellum &dst, const Vellum &src, const QSize &size,
                                    const QRect &rect, Qt::TransformationMode mode, bool deepCopy,
                                    const QSize &refSize);
