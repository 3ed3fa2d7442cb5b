// Turning images, beside Vellum::rotated().
#pragma once

#include <vellum/export.h>
#include <vellum/image/storage.h>

#include <QtGlobal>

class QColor;
class Vellum;

/// The fill value, in the terms of Vellum::fill(uint), that suits what a rotation of \a image or
/// a copy of more than \a image leaves uncovered.
///
/// \param transparent  set to true when the value stands for a transparent pixel
/// \return 0 (transparent black) for 32-bit formats, those without alpha included; the first
///         index whose colour is fully transparent for Format_Indexed8, or 0 when there is none;
///         0xffffffff for one-bit images whose colour 1 is that first transparent one, else 0;
///         0xffffffff (white) for all other formats
VELLUM_EXPORT uint getFillColorForRotate(const Vellum &image, bool &transparent);

namespace vellum {

/// \a image turned clockwise by \a turns right angles, on the same storage, with its ICC profile,
/// CMYK-origin flag and all that describes the picture; resolutions along and across change
/// places with odd turns.
///
/// Exact for every format: pixels of 1, 8, 16, 24, 32 and 64 bits, one-bit ones in either order.
/// Vellum::rotated() does not turn pixels of 16 and 64 bits by right angles and mixes up those of
/// Format_MonoLSB; its results are always plain.
///
/// \param turns  any number; negative ones turn counter-clockwise, and multiples of 4 give an
///               image that shares the pixels of \a image
/// \return null when \a image is null, its callback answered false, or memory runs out
///
/// Hands percentages to Vellum::set_progress of \a image, once per band of rows; see
/// ProgressGuard::Positions.
VELLUM_EXPORT Vellum quarterTurned(const Vellum &image, int turns);

/// \a image turned clockwise by \a angle degrees about its centre, on a canvas that holds all of
/// it, with its ICC profile, CMYK-origin flag and all that describes the picture.
///
/// Multiples of 90 degrees are turned exactly, as by quarterTurned(). By all other angles, also
/// those next to them, one-bit and indexed images are sampled at the nearest pixel, all others
/// bilinearly, channel by channel as stored, whatever the width of the channels: results
/// truncate, and there is no gamma and no multiplying with alpha. Pixels at the edge are not mixed
/// with the fill. Sine and cosine are truncated to 1/1024, which moves the far corners of a
/// picture of 40,000 pixels by up to 40.
///
/// Vellum::rotated() gives the same pixels for formats whose channels have 8 bits, except that it
/// samples grey at the nearest pixel, that its results are always plain, and that it takes
/// fractions of a degree next to multiples of 90 for none.
///
/// \param fillColor  pixel value for what the image does not cover, as for Vellum::fill(uint);
///                   getFillColorForRotate() knows a fitting one
/// \param storage    where the rows of the result lie, whatever the storage of \a image. When it
///                   is the same and nothing is turned, the result shares the pixels
/// \return null when \a image is null, \a angle is not finite, the callback of \a image answered
///         false, a side of the result is below 1 or not representable, or memory runs out
///
/// Hands a percentage to Vellum::set_progress of \a image after every row; see
/// ProgressGuard::Positions. Rows are drawn 128 at a time before their progress is reported.
VELLUM_EXPORT Vellum freeRotated(const Vellum &image, double angle, uint fillColor,
                                 Storage storage = Storage::Plain);

/// \overload
/// Fills with \a fill, converted to the format of \a image; with the nearest entry of the colour
/// table of one-bit and indexed images.
VELLUM_EXPORT Vellum freeRotated(const Vellum &image, double angle, const QColor &fill,
                                 Storage storage = Storage::Plain);

} // namespace vellum
