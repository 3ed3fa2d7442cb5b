#include "pixelcolors.h"

#include <QColorSpace>

#include <algorithm>

namespace vellum::tool {

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

bool hasOnlyGrey(const Vellum &picture)
{
    if (isGrayFormat(picture.format()))
        return true;
    const QVector<QRgb> table = picture.colorTable();
    return !table.isEmpty() && std::all_of(table.begin(), table.end(), [](QRgb color) {
        return qAlpha(color) == 255 && qIsGray(color);
    });
}

QImage::Format formatForProfile(const Vellum &picture, const QByteArray &profile)
{
    const QString grey = QStringLiteral("Gray");
    const QString rgb = QStringLiteral("RGB");
    const QString space = !profile.isEmpty() ? describeProfile(profile).colorSpace
        : isGrayFormat(picture.format())     ? grey
                                             : rgb;
    const bool isGrey = space == grey && hasOnlyGrey(picture);
    return isGrey || space == rgb ? convertibleFormat(picture, isGrey) : QImage::Format_Invalid;
}

Vellum convertedColors(Vellum image, const QByteArray &source, const QByteArray &destination,
                       const ColorConversion &conversion, const std::function<bool()> &goOn)
{
    const ProgressGuard guard(image, [&](int) { return goOn(); });
    return convertColors(image, source, destination, conversion);
}

} // namespace vellum::tool
