#include <vellum/color/lcmsmanager.h>
#include <vellum/color/profilesources_p.h>
#include <vellum/color/transforms_p.h>

namespace vellum::color {

namespace {

/// lcms2 keeps its alarm codes once per process and does not lock them.
void setAlarmCodes()
{
    constexpr cmsUInt16Number codes[cmsMAXCHANNELS] = {0xff, 0xff, 0xff, 0xff};
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    cmsSetAlarmCodes(codes);
}

Transform makeLabTransform(unsigned int inFormat, unsigned int outFormat)
{
    setAlarmCodes();
    const Profile lab(cmsCreateLab4Profile(nullptr));
    const Profile display(cmsCreate_sRGBProfile());
    return Transform(
        cmsCreateTransform(lab.get(), inFormat, display.get(), outFormat, INTENT_PERCEPTUAL, 0));
}

} // namespace

Transform makeReadTransform(unsigned int inFormat, unsigned int outFormat, const QByteArray &icc)
{
    if (inFormat == TYPE_Lab_8 || inFormat == TYPE_Lab_16)
        return makeLabTransform(inFormat, outFormat);
    const Profile source = openProfile(icc);
    const Profile display(cmsCreate_sRGBProfile());
    if (!source)
        return nullptr;
    cmsHPROFILE chain[] = {source.get(), display.get()};
    return Transform(
        cmsCreateMultiprofileTransform(chain, 2, inFormat, outFormat, INTENT_PERCEPTUAL, 0));
}

Transform makeSaveTransform(unsigned int inFormat, unsigned int outFormat, const QByteArray &icc)
{
    const Profile display(cmsCreate_sRGBProfile());
    const Profile target = openProfile(icc);
    if (!target && !icc.isEmpty())
        return nullptr;
    cmsHPROFILE chain[] = {display.get(), target.get()};
    return Transform(cmsCreateMultiprofileTransform(chain, target ? 2 : 1, inFormat, outFormat,
                                                    INTENT_PERCEPTUAL,
                                                    cmsFLAGS_BLACKPOINTCOMPENSATION));
}

int intentNumber(const ColorConversion &conversion)
{
    const int intent = int(conversion.intent);
    if (conversion.blackPreservation == BlackPreservation::None)
        return intent;
    if (conversion.intent == RenderingIntent::AbsoluteColorimetric)
        return -1;
    const bool pureBlack = conversion.blackPreservation == BlackPreservation::PureBlack;
    return intent +
        (pureBlack ? INTENT_PRESERVE_K_ONLY_PERCEPTUAL : INTENT_PRESERVE_K_PLANE_PERCEPTUAL);
}

void transformLines(void *transform, const Lines &lines)
{
    if (transform) {
        cmsDoTransformLineStride(transform, lines.in, lines.out, lines.pixelsPerLine,
                                 lines.lineCount, lines.bytesPerLineIn, lines.bytesPerLineOut, 0,
                                 0);
    }
}

int storedPixelsPerLine(const Vellum &image)
{
    return int(qMin(qint64(image.width()), qint64(image.storedBytesPerLine()) * 8 / image.depth()));
}

void convertToSrgb(Vellum &image, const QByteArray &icc)
{
    const unsigned int format = CVlLcmsManager::toLcmsFormat(image.format());
    if (icc.isEmpty() || format == 0)
        return;
    const Transform transform = makeReadTransform(format, format, icc);
    if (!transform)
        return;
    const auto pixels = static_cast<unsigned int>(storedPixelsPerLine(image));
    const auto stride = static_cast<unsigned int>(image.storedBytesPerLine());
    for (int y = 0; y < image.height(); ++y) {
        uchar *const row = image.scanLineEx(y);
        if (!row)
            return;
        transformLines(transform.get(), {row, row, pixels, 1, stride, stride});
    }
}

} // namespace vellum::color
