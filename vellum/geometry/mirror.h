// Mirroring images, beside Vellum::mirrored().
#pragma once

#include <vellum/export.h>

class Vellum;

namespace vellum {

/// A mirror image of \a image on the same storage, with its ICC profile, CMYK-origin flag and
/// all that describes the picture (colour table, resolution, text and so on).
///
/// Vellum::mirrored() gives the same pixels, but always plain, and passes on the colour table
/// alone. With both flags clear the result shares the pixels of \a image.
///
/// \param horizontal  exchanges left and right
/// \param vertical    exchanges top and bottom
/// \return null when \a image is null, its callback answered false, or memory runs out
///
/// Hands a percentage to Vellum::set_progress of \a image after every row; see
/// ProgressGuard::Positions.
VELLUM_EXPORT Vellum mirrored(const Vellum &image, bool horizontal, bool vertical);

/// Mirrors \a image itself, plain or big, without a second image.
///
/// A plain image that is shared gets a copy of the pixels first, as on every write; the rows of a
/// big image change for all who share them. A row buffer is all that is allocated, for vertical
/// mirroring. Does nothing to a null image.
///
/// Hands percentages to Vellum::set_progress of \a image after every pair of rows; the answer is
/// ignored, as a half-mirrored image is of no use. Both ways with an odd number of rows, the rows
/// count up to 50 and the pixels of the middle row from near 0 to 50 again.
VELLUM_EXPORT void mirrorInPlace(Vellum &image, bool horizontal, bool vertical);

} // namespace vellum
