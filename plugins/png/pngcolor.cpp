#include "png/pngcolor.h"

#include <lcms2.h>

#include <cmath>
#include <memory>

namespace vellum::plugin {

namespace {

struct CloseProfile
{
    void operator()(void *profile) const noexcept { cmsCloseProfile(profile); }
};
struct FreeCurve
{
    void operator()(cmsToneCurve *curve) const noexcept { cmsFreeToneCurve(curve); }
};
using Profile = std::unique_ptr<void, CloseProfile>;
using Curve = std::unique_ptr<cmsToneCurve, FreeCurve>;

constexpr PngPrimaries kSrgb = {0.3127, 0.3290, 0.64, 0.33, 0.30, 0.60, 0.15, 0.06};
constexpr double kSrgbGamma = 1 / 2.2;

bool isNear(double a, double b) { return std::abs(a - b) < 0.001; }

bool areNear(const PngPrimaries &a, const PngPrimaries &b)
{
    return isNear(a.whiteX, b.whiteX) && isNear(a.whiteY, b.whiteY) && isNear(a.redX, b.redX) &&
        isNear(a.redY, b.redY) && isNear(a.greenX, b.greenX) && isNear(a.greenY, b.greenY) &&
        isNear(a.blueX, b.blueX) && isNear(a.blueY, b.blueY);
}

QByteArray serialised(const Profile &profile)
{
    cmsUInt32Number size = 0;
    if (!profile || !cmsSaveProfileToMem(profile.get(), nullptr, &size))
        return {};
    QByteArray bytes(int(size), Qt::Uninitialized);
    return cmsSaveProfileToMem(profile.get(), bytes.data(), &size) ? bytes : QByteArray();
}

QByteArray makeRgbProfile(const PngPrimaries &p, cmsToneCurve *curve)
{
    const cmsCIExyY white = {p.whiteX, p.whiteY, 1};
    const cmsCIExyYTRIPLE primaries = {
        {p.redX, p.redY, 1}, {p.greenX, p.greenY, 1}, {p.blueX, p.blueY, 1}};
    cmsToneCurve *const curves[] = {curve, curve, curve};
    const Profile profile(cmsCreateRGBProfile(&white, &primaries, curves));
    if (profile)
        cmsSetProfileVersion(profile.get(), 2.1); // which every reader knows
    return serialised(profile);
}

} // namespace

bool PngColors::areSrgb() const
{
    return isNear(gamma, kSrgbGamma) && (!primaries || areNear(*primaries, kSrgb));
}

QByteArray profileOf(const PngColors &colors, bool isGrey)
{
    if (colors.gamma <= 0 && !colors.primaries)
        return {};
    const Curve curve(cmsBuildGamma(nullptr, 1 / (colors.gamma > 0 ? colors.gamma : kSrgbGamma)));
    if (!curve)
        return {};
    if (isGrey)
        return serialised(Profile(cmsCreateGrayProfile(cmsD50_xyY(), curve.get())));
    return makeRgbProfile(colors.primaries ? *colors.primaries : kSrgb, curve.get());
}

QByteArray rgbProfileOf(const QByteArray &grey)
{
    const Profile profile(cmsOpenProfileFromMem(grey.constData(), cmsUInt32Number(grey.size())));
    auto *const curve = profile
        ? static_cast<cmsToneCurve *>(cmsReadTag(profile.get(), cmsSigGrayTRCTag))
        : nullptr; // the profile's
    return curve ? makeRgbProfile(kSrgb, curve) : QByteArray();
}

} // namespace vellum::plugin
