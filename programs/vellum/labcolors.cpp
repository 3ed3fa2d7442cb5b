#include "labcolors.h"

namespace vellum::tool {

namespace {

struct CloseProfile
{
    void operator()(void *profile) const noexcept { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

// Grey pixels have the same value in red, green and blue: the first will do.
constexpr cmsUInt32Number kGreyOfFour =
    COLORSPACE_SH(PT_GRAY) | CHANNELS_SH(1) | EXTRA_SH(3) | BYTES_SH(2);

/// lcms2's code for the pixels, as colours of \a profile; 0 when they are none.
cmsUInt32Number pixelCode(cmsHPROFILE profile)
{
    switch (cmsGetColorSpace(profile)) {
    case cmsSigRgbData:
        return TYPE_RGBA_16;
    case cmsSigGrayData:
        return kGreyOfFour;
    default:
        return 0;
    }
}

} // namespace

LabColors::LabColors(const QByteArray &profile)
{
    const Profile source(
        profile.isEmpty()
            ? cmsCreate_sRGBProfile()
            : cmsOpenProfileFromMem(profile.constData(), cmsUInt32Number(profile.size())));
    const Profile lab(cmsCreateLab4Profile(nullptr));
    const cmsUInt32Number code = source ? pixelCode(source.get()) : 0;
    if (code == 0 || !lab)
        return;
    // Without optimisation, which would resample the profile on a coarse grid.
    m_transform.reset(cmsCreateTransform(source.get(), code, lab.get(), TYPE_Lab_DBL,
                                         INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE));
}

void LabColors::convert(const quint16 *pixels, cmsCIELab *colors, int count) const
{
    cmsDoTransform(m_transform.get(), pixels, colors, cmsUInt32Number(count));
}

double colorDifference(const cmsCIELab &a, const cmsCIELab &b)
{
    return cmsCIE2000DeltaE(&a, &b, 1, 1, 1);
}

} // namespace vellum::tool
