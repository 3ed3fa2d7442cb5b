// The colours in which an image is saved as CMYK.
#pragma once

#include <vellum/color/convertcolors.h>
#include <vellum/export.h>

#include <QByteArray>

class Vellum;

namespace vellum {

/// From which colours to which inks.
struct PressColors
{
    QByteArray press; ///< a CMYK profile; "cmyk.icm" of the profile folder when empty
    QByteArray source; ///< an RGB profile, that of the pixels; sRGB when empty
    ColorConversion conversion; ///< but for black preservation, which is for inks
};

/// Prepares \a image for being saved as CMYK, as Vellum::rePrepareSaveCmyk() does for its format,
/// with \a colors, which stay in force for later calls of that function until the transform is
/// released. Meanwhile Vellum::getCmykIccProfile() gives the profile of the press.
///
/// \return false, with \a image as it was, when a profile is damaged or of another colour space
VELLUM_EXPORT bool prepareSaveCmyk(Vellum &image, const PressColors &colors);

} // namespace vellum
