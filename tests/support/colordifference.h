// How far apart two colours are for the eye.
#pragma once

#include <QColor>

#include <lcms2.h>

#include <support/profiles.h>

namespace vellum::test {

/// An sRGB colour in Lab of D50 white.
inline cmsCIELab labOf(const QColor &color)
{
    static const OwnedProfile srgb(cmsCreate_sRGBProfile());
    static const OwnedProfile lab(cmsCreateLab4Profile(nullptr));
    static const OwnedTransform transform(cmsCreateTransform(
        srgb.get(), TYPE_RGB_16, lab.get(), TYPE_Lab_DBL, INTENT_PERCEPTUAL, cmsFLAGS_NOOPTIMIZE));
    const QRgba64 rgba = color.rgba64();
    const quint16 rgb[] = {rgba.red(), rgba.green(), rgba.blue()};
    cmsCIELab result;
    cmsDoTransform(transform.get(), rgb, &result, 1);
    return result;
}

/// dE00, the colour difference of CIE 2000: 1 is about what an eye can tell.
inline double difference(const cmsCIELab &a, const cmsCIELab &b)
{
    return cmsCIE2000DeltaE(&a, &b, 1, 1, 1);
}

} // namespace vellum::test
