// The dispatcher behind Vellum::rotated(), and the paths it chooses from.
#pragma once

#include <QtGlobal>

class Vellum;

namespace vellum::geometry {

/// Makes \a result the \a source turned clockwise by \a angle degrees: a copy, an exact turn, or
/// one by rotateFree() with \a fillColor where nothing of the source lies.
///
/// Whole degrees decide, after a small bias; fractions next to a multiple of 90 are dropped, so
/// that 89.5 turns like 90 and 359.5 not at all.
/// \return false for failure, with \a result null, and also for a copy of the latter kind
bool rotateImage(Vellum &result, const Vellum &source, double angle, uint fillColor);

/// Exact turn, counter-clockwise for \a direction 1 and clockwise for -1; false for another one.
///
/// Callers know not to use it for 16- and 64-bit pixels: the result is all zeros then.
/// One-bit pixels are taken most significant first even from Format_MonoLSB.
bool rotateRightAngle(Vellum &result, const Vellum &source, int direction);

/// Turn by any angle, counter-clockwise by \a degrees, on a canvas that holds all of the image.
/// Pixels of 16 and 64 bits are not drawn: the result is the fill value alone.
bool rotateFree(Vellum &result, const Vellum &source, double degrees, uint fillColor);

/// Radians for \a degrees, with as many digits of pi as all results have been made with.
[[nodiscard]] inline double toRadians(double degrees) { return degrees * 3.1415926535 / 180.0; }

} // namespace vellum::geometry
