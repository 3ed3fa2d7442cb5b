#include <vellum/color/convertcolors.h>
#include <vellum/color/lcmsmanager.h>
#include <vellum/color/parallelrows_p.h>
#include <vellum/color/pixelprofile.h>
#include <vellum/color/profilesources_p.h>
#include <vellum/color/transforms_p.h>
#include <vellum/image/derived_p.h>

#include <QColorSpace>

#include <cstring>

namespace vellum {

namespace {

using color::Profile;
using color::Transform;

constexpr qint64 kPixelsPerChunk = 1 << 15; // one or two milliseconds of work

struct FreeCurve
{
    void operator()(cmsToneCurve *curve) const noexcept { cmsFreeToneCurve(curve); }
};

const QByteArray &srgbBytes()
{
    static const QByteArray bytes = color::serialised(Profile(cmsCreate_sRGBProfile()));
    return bytes;
}

/// Grey of sRGB's tone curve (IEC 61966-2-1).
const QByteArray &greyBytes()
{
    static const QByteArray bytes = [] {
        const double parameters[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
        const std::unique_ptr<cmsToneCurve, FreeCurve> curve(
            cmsBuildParametricToneCurve(nullptr, 4, parameters));
        return color::serialised(Profile(cmsCreateGrayProfile(cmsD50_xyY(), curve.get())));
    }();
    return bytes;
}

bool has16Bits(unsigned int code) { return T_BYTES(code) == 2; }

/// lcms2's code for the pixels of \a format when they are colours of \a space; 0 when they cannot
/// be.
unsigned int pixelCode(QImage::Format format, cmsColorSpaceSignature space)
{
    const unsigned int code = CVlLcmsManager::toLcmsFormat(format);
    switch (space) {
    case cmsSigRgbData:
        return T_COLORSPACE(code) == PT_RGB ? code : 0;
    case cmsSigGrayData:
        return T_COLORSPACE(code) == PT_GRAY ? code : 0;
    case cmsSigCmykData:
        return code == TYPE_BGRA_8 || code == TYPE_RGBA_8 ? TYPE_CMYK_8 : 0;
    default:
        return 0;
    }
}

/// The format for colours of \a space that come from pixels of \a format and code \a inCode.
QImage::Format resultFormat(QImage::Format format, unsigned int inCode,
                            cmsColorSpaceSignature space)
{
    switch (space) {
    case cmsSigRgbData:
        if (T_COLORSPACE(inCode) == PT_RGB)
            return format;
        return has16Bits(inCode) ? QImage::Format_RGBX64 : QImage::Format_RGB32;
    case cmsSigGrayData:
        return has16Bits(inCode) ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    case cmsSigCmykData:
        return QImage::Format_ARGB32;
    default:
        return QImage::Format_Invalid;
    }
}

/// Drops what does not change the colours of \a icc: date, flags, intent and identifier.
QByteArray colorsOf(QByteArray icc)
{
    const auto clear = [&icc](int offset, int size) {
        if (icc.size() >= offset + size)
            icc.replace(offset, size, QByteArray(size, '\0'));
    };
    clear(24, 12); // date
    clear(44, 4); // flags
    clear(64, 4); // rendering intent
    clear(84, 16); // profile identifier
    return icc;
}

bool isSameProfile(const QByteArray &a, const QByteArray &b)
{
    return a == b || (a.size() == b.size() && colorsOf(a) == colorsOf(b));
}

Vellum makeResult(const Vellum &image, QImage::Format format)
{
    Vellum result;
    const auto create = image.isBigImage() ? Vellum::createBig : Vellum::create;
    if (create(result, image.width(), image.height(), format)) {
        image::carryDescription(result, image);
        result.setColorSpace(QColorSpace()); // the ICC profile tells
    }
    return result;
}

/// Runs \a transform over all rows. In place, on copies of the rows, lcms2 leaves alpha as it is.
bool transformRows(Vellum &result, const Vellum &image, void *transform, unsigned int inCode,
                   unsigned int outCode)
{
    const bool inPlace = inCode == outCode;
    const bool hasUnusedByte = !inPlace && T_EXTRA(outCode) != 0;
    const auto width = static_cast<unsigned int>(image.width());
    const auto rowBytes = size_t(result.width()) * size_t(result.depth() / 8);
    const auto operation = [&](int first, int last) {
        for (int y = first; y < last; ++y) {
            const uchar *in = image.scanLineEx(y);
            uchar *const out = result.scanLineEx(y);
            if (!in || !out)
                return false;
            if (inPlace)
                std::memcpy(out, in, rowBytes);
            else if (hasUnusedByte)
                std::memset(out, 0xff, rowBytes); // opaque
            cmsDoTransform(transform, inPlace ? out : in, out, width);
        }
        return true;
    };
    const auto rowsPerChunk = int(qMax<qint64>(1, kPixelsPerChunk / image.width()));
    result.beginDetach(); // threads must not ask QImage whether it is shared
    const bool done = color::forRowsInParallel(image, rowsPerChunk, operation);
    result.endDetach();
    return done;
}

} // namespace

Vellum convertColors(const Vellum &image, const QByteArray &source, const QByteArray &destination,
                     const ColorConversion &conversion)
{
    if (image.isNull() || !image::isComplete(image))
        return {};
    const QByteArray &defaultSource = isGrayFormat(image.format()) ? greyBytes() : srgbBytes();
    const QByteArray &from = source.isEmpty() ? defaultSource : source;
    const QByteArray &to = destination.isEmpty() ? srgbBytes() : destination;
    const Profile fromProfile = color::openProfile(from);
    const Profile toProfile = color::openProfile(to);
    const int intent = color::intentNumber(conversion);
    if (!fromProfile || !toProfile || intent < 0)
        return {};
    const cmsColorSpaceSignature toSpace = cmsGetColorSpace(toProfile.get());
    const unsigned int inCode = pixelCode(image.format(), cmsGetColorSpace(fromProfile.get()));
    if (inCode == 0)
        return {};
    if (isSameProfile(from, to)) {
        Vellum same(image);
        same.setIccProfile(to);
        return same;
    }

    const QImage::Format format = resultFormat(image.format(), inCode, toSpace);
    const unsigned int outCode = pixelCode(format, toSpace);
    if (outCode == 0)
        return {};
    // Without lcms2's one-pixel cache the transform holds nothing that threads could write to.
    const cmsUInt32Number flags = cmsFLAGS_NOCACHE |
        (conversion.blackPointCompensation ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0U);
    const Transform transform(cmsCreateTransform(fromProfile.get(), inCode, toProfile.get(),
                                                 outCode, cmsUInt32Number(intent), flags));
    if (!transform)
        return {};
    Vellum result = makeResult(image, format);
    if (result.isNull() || !transformRows(result, image, transform.get(), inCode, outCode))
        return {};
    result.setIccProfile(to);
    return result;
}

} // namespace vellum
