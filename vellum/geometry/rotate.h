// Turning images, beside Vellum::rotated().
#pragma once

#include <vellum/export.h>

#include <QtGlobal>

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
