// Colours of whole pictures of any format, palettes included.
#pragma once

#include <vellum/color/convertcolors.h>
#include <vellum/image/vellum.h>
#include <vellum/io/filestatus.h>
#include <vellum/io/jobprogress_p.h>

#include <QByteArray>

namespace vellum::io {

/// Puts the profile of a picture that has just been decoded on it, wherever it was found.
/// \return FileOwn when the pixels are colours of it; those of CMYK files are sRGB
[[nodiscard]] PixelColors claimColors(Vellum &image);

/// What became of a change of colours.
enum class ColorOutcome {
    Done,
    Impossible, ///< the profile is damaged or does not fit the pixels; the image is as it was
    Failed, ///< memory ran out or the job was cancelled; the image is null
};

/// Converts \a image from \a profile to sRGB. Palettes keep their format and grey pixels stay
/// grey; formats that lcms2 does not know become ARGB32, RGB32, RGBA64 or RGBX64.
///
/// The profile that the image carries stays \a profile; its QColorSpace becomes sRGB.
[[nodiscard]] ColorOutcome toSrgb(Vellum &image, const QByteArray &profile, JobProgress &progress);

/// Converts \a image from the profile \a from (empty: sRGB) to the profile \a to, which it
/// carries from then on. Grey pixels become coloured ones unless \a to is grey.
[[nodiscard]] ColorOutcome toProfile(Vellum &image, const QByteArray &from, const QByteArray &to,
                                     const ColorConversion &conversion, JobProgress &progress);

} // namespace vellum::io
