#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <support/profiles.h>
#include <vector>

namespace vellum::test {

namespace {

struct FreeCurve
{
    void operator()(cmsToneCurve *curve) const { cmsFreeToneCurve(curve); }
};
struct FreePipeline
{
    void operator()(cmsPipeline *pipeline) const { cmsPipelineFree(pipeline); }
};
using Curve = std::unique_ptr<cmsToneCurve, FreeCurve>;
using Pipeline = std::unique_ptr<cmsPipeline, FreePipeline>;

Curve gamma(double exponent) { return Curve(cmsBuildGamma(nullptr, exponent)); }

void writeText(const OwnedProfile &profile, cmsTagSignature tag, const char *text)
{
    cmsMLU *const mlu = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(mlu, "en", "US", text);
    cmsWriteTag(profile.get(), tag, mlu);
    cmsMLUfree(mlu);
}

OwnedProfile emptyProfile(cmsProfileClassSignature deviceClass, cmsColorSpaceSignature space,
                          const char *description)
{
    OwnedProfile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), 2.4);
    cmsSetDeviceClass(profile.get(), deviceClass);
    cmsSetColorSpace(profile.get(), space);
    cmsSetPCS(profile.get(), cmsSigLabData);
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    writeText(profile, cmsSigProfileDescriptionTag, description);
    writeText(profile, cmsSigCopyrightTag, "none");
    return profile;
}

using Sampler = cmsInt32Number (*)(const cmsUInt16Number[], cmsUInt16Number[], void *);

void writeLut(const OwnedProfile &profile, cmsTagSignature tag, int inputs, int outputs,
              Sampler sampler)
{
    const Pipeline pipeline(cmsPipelineAlloc(nullptr, unsigned(inputs), unsigned(outputs)));
    cmsStage *const table =
        cmsStageAllocCLut16bit(nullptr, 9, unsigned(inputs), unsigned(outputs), nullptr);
    cmsStageSampleCLut16bit(table, sampler, nullptr, 0);
    cmsPipelineInsertStage(pipeline.get(), cmsAT_END, table);
    cmsWriteTag(profile.get(), tag, pipeline.get());
}

cmsUInt16Number clamped(double value)
{
    return cmsUInt16Number(std::lround(std::clamp(value, 0.0, 65535.0)));
}

void encodeLab(cmsUInt16Number out[], double l, double a, double b)
{
    out[0] = clamped(l / 100 * 65280);
    out[1] = clamped((a + 128) * 256);
    out[2] = clamped((b + 128) * 256);
}

cmsInt32Number rgbToLab(const cmsUInt16Number in[], cmsUInt16Number out[], void *)
{
    const double r = in[0] / 65535.0;
    const double g = in[1] / 65535.0;
    const double b = in[2] / 65535.0;
    encodeLab(out, 100 * std::pow(0.2 * r + 0.7 * g + 0.1 * b, 0.6), 70 * (r - g), 50 * (g - b));
    return 1;
}

cmsInt32Number cmykToLab(const cmsUInt16Number in[], cmsUInt16Number out[], void *)
{
    double light[3];
    for (int i = 0; i < 3; ++i)
        light[i] = (1 - in[i] / 65535.0) * (1 - in[3] / 65535.0);
    encodeLab(out, 10 + 85 * (0.3 * light[0] + 0.5 * light[1] + 0.2 * light[2]),
              60 * (light[0] - light[1]), 60 * (light[1] - light[2]));
    return 1;
}

cmsInt32Number labToCmyk(const cmsUInt16Number in[], cmsUInt16Number out[], void *)
{
    const double light = in[0] / 65280.0;
    const double a = in[1] / 256.0 - 128;
    const double b = in[2] / 256.0 - 128;
    out[0] = clamped(65535 * (0.8 - light + a / -200));
    out[1] = clamped(65535 * (0.8 - light + a / 200));
    out[2] = clamped(65535 * (0.8 - light + b / 200));
    out[3] = clamped(65535 * (0.3 - light));
    return 1;
}

} // namespace

QByteArray bytesOf(const OwnedProfile &profile)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    QByteArray bytes(int(size), '\0');
    cmsSaveProfileToMem(profile.get(), bytes.data(), &size);
    return bytes;
}

OwnedProfile openBytes(const QByteArray &icc)
{
    return OwnedProfile(cmsOpenProfileFromMem(icc.constData(), cmsUInt32Number(icc.size())));
}

QByteArray matrixProfile()
{
    const Curve curve = gamma(1.8);
    cmsToneCurve *const curves[] = {curve.get(), curve.get(), curve.get()};
    const cmsCIExyY white {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries {{0.70, 0.29, 1.0}, {0.18, 0.75, 1.0}, {0.14, 0.05, 1.0}};
    return bytesOf(OwnedProfile(cmsCreateRGBProfile(&white, &primaries, curves)));
}

QByteArray lutProfile()
{
    const OwnedProfile profile = emptyProfile(cmsSigInputClass, cmsSigRgbData, "Bent RGB");
    writeLut(profile, cmsSigAToB0Tag, 3, 3, rgbToLab);
    return bytesOf(profile);
}

QByteArray greyProfile()
{
    const Curve curve = gamma(1.4);
    return bytesOf(OwnedProfile(cmsCreateGrayProfile(cmsD50_xyY(), curve.get())));
}

QByteArray cmykProfile()
{
    const OwnedProfile profile = emptyProfile(cmsSigOutputClass, cmsSigCmykData, "Small press");
    writeLut(profile, cmsSigAToB0Tag, 4, 3, cmykToLab);
    writeLut(profile, cmsSigBToA0Tag, 3, 4, labToCmyk);
    return bytesOf(profile);
}

QByteArray labProfile() { return bytesOf(OwnedProfile(cmsCreateLab4Profile(nullptr))); }

QByteArray srgbProfile() { return bytesOf(OwnedProfile(cmsCreate_sRGBProfile())); }

QString profileFile(const QString &name)
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/share/color/icc/") + name;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray withoutDate(QByteArray icc)
{
    if (icc.size() >= 128)
        icc.replace(24, 12, QByteArray(12, '\0'));
    return icc;
}

OwnedTransform chainTransform(std::initializer_list<cmsHPROFILE> chain, cmsUInt32Number inFormat,
                              cmsUInt32Number outFormat, cmsUInt32Number intent,
                              cmsUInt32Number flags)
{
    std::vector<cmsHPROFILE> profiles(chain);
    OwnedTransform transform(cmsCreateMultiprofileTransform(
        profiles.data(), cmsUInt32Number(profiles.size()), inFormat, outFormat, intent, flags));
    for (const cmsHPROFILE profile : profiles)
        cmsCloseProfile(profile);
    return transform;
}

} // namespace vellum::test
