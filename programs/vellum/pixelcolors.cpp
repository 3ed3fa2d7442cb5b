#include "pixelcolors.h"

#include <QColorSpace>

#include <algorithm>
#include <cmath>

namespace vellum::tool {

namespace {

/// sRGB, and the gamma of 2.2 that PNG files state in its stead.
bool isSrgb(const QColorSpace &space)
{
    return space == QColorSpace(QColorSpace::SRgb) ||
        (space.primaries() == QColorSpace::Primaries::SRgb &&
         space.transferFunction() == QColorSpace::TransferFunction::Gamma &&
         std::abs(space.gamma() - 2.2F) < 0.01F);
}

bool isGreyFormat(QImage::Format format)
{
    return format == QImage::Format_Grayscale8 || format == QImage::Format_Grayscale16;
}

} // namespace

QByteArray pixelProfile(const Vellum &picture)
{
    if (picture.isOrgFileCmyk())
        return {};
    const QByteArray own = picture.getIccProfile();
    const QColorSpace space =
        own.isEmpty() ? picture.colorSpace() : QColorSpace::fromIccProfile(own);
    if (isSrgb(space))
        return {};
    return own.isEmpty() ? space.iccProfile() : own;
}

bool meanSameColors(const QByteArray &a, const QByteArray &b)
{
    if (a == b)
        return true;
    if (a.isEmpty() || b.isEmpty())
        return false; // sRGB's own profiles are empty
    const QColorSpace first = QColorSpace::fromIccProfile(a);
    return first.isValid() && first == QColorSpace::fromIccProfile(b);
}

bool isCmykProfile(const QByteArray &profile)
{
    return describeProfile(profile).colorSpace == QLatin1String("CMYK");
}

bool isGreyByFormat(const Vellum &picture)
{
    if (isGreyFormat(picture.format()))
        return true;
    const QVector<QRgb> table = picture.colorTable();
    return !table.isEmpty() && std::all_of(table.begin(), table.end(), [](QRgb color) {
        return qAlpha(color) == 255 && qIsGray(color);
    });
}

bool hasWideChannels(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Grayscale16:
    case QImage::Format_BGR30:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_RGB30:
    case QImage::Format_A2RGB30_Premultiplied:
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
        return true;
    default:
        return false;
    }
}

QImage::Format numbersFormat(const Vellum &picture)
{
    if (hasWideChannels(picture.format()))
        return picture.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    return picture.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
}

QImage::Format convertibleFormat(const Vellum &picture, const QByteArray &profile)
{
    const QImage::Format format = picture.format();
    const QString grey = QStringLiteral("Gray");
    const QString rgb = QStringLiteral("RGB");
    const QString space = !profile.isEmpty() ? describeProfile(profile).colorSpace
        : isGreyFormat(format)               ? grey
                                             : rgb;
    if (space == grey && isGreyByFormat(picture))
        return hasWideChannels(format) ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    if (space != rgb)
        return QImage::Format_Invalid;
    if (CVlLcmsManager::toLcmsFormat(format) != 0 && !isGreyFormat(format))
        return format;
    return numbersFormat(picture);
}

Vellum convertedColors(Vellum image, const QByteArray &source, const QByteArray &destination,
                       const ColorConversion &conversion, const std::function<bool()> &goOn)
{
    const ProgressGuard guard(image, [&](int) { return goOn(); });
    return convertColors(image, source, destination, conversion);
}

} // namespace vellum::tool
