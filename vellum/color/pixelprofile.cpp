#include <vellum/color/lcmsmanager.h>
#include <vellum/color/pixelprofile.h>
#include <vellum/image/vellum.h>

#include <QColorSpace>

#include <cmath>

namespace vellum {

bool isSrgb(const QColorSpace &space)
{
    if (space == QColorSpace(QColorSpace::SRgb))
        return true;
    return space.primaries() == QColorSpace::Primaries::SRgb &&
        space.transferFunction() == QColorSpace::TransferFunction::Gamma &&
        std::abs(space.gamma() - 2.2F) < 0.01F;
}

QByteArray pixelProfile(const Vellum &image)
{
    if (image.isOrgFileCmyk())
        return {};
    const QByteArray own = image.getIccProfile();
    const QColorSpace space = own.isEmpty() ? image.colorSpace() : QColorSpace::fromIccProfile(own);
    if (isSrgb(space))
        return {};
    return own.isEmpty() ? space.iccProfile() : own;
}

bool isGrayFormat(QImage::Format format)
{
    return format == QImage::Format_Grayscale8 || format == QImage::Format_Grayscale16;
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

QImage::Format rgbFormatFor(const Vellum &image)
{
    if (hasWideChannels(image.format()))
        return image.hasAlphaChannel() ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    return image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32;
}

QImage::Format convertibleFormat(const Vellum &image, bool gray)
{
    const QImage::Format format = image.format();
    if (gray)
        return hasWideChannels(format) ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    if (CVlLcmsManager::toLcmsFormat(format) != 0 && !isGrayFormat(format))
        return format;
    return rgbFormatFor(image);
}

} // namespace vellum
