// What colours the pixels of a picture are, as PictureReader delivers them.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>

#include <functional>

namespace vellum::tool {

/// The profile that tells the colours of the pixels of \a picture; empty for sRGB, and for grey
/// with sRGB's tone curve. Not that of a CMYK file, whose pixels have become sRGB.
QByteArray pixelProfile(const Vellum &picture);

/// True when both profiles mean the same colours, which those of different programs may do.
bool meanSameColors(const QByteArray &a, const QByteArray &b);

bool isCmykProfile(const QByteArray &profile);

/// True when \a picture has shades of grey only, by its format or by its palette.
bool isGreyByFormat(const Vellum &picture);

/// True when channels of \a format have more than 8 bits.
bool hasWideChannels(QImage::Format format);

/// The one of RGB32, ARGB32, RGBX64 and RGBA64 that holds the colours of \a picture as numbers.
QImage::Format numbersFormat(const Vellum &picture);

/// A format that convertColors() takes and that loses nothing of \a picture, whose pixels are
/// colours of \a profile; Format_Invalid when it is damaged or not of RGB, or of grey as they are.
QImage::Format convertibleFormat(const Vellum &picture, const QByteArray &profile);

/// convertColors() of \a image, asking \a goOn meanwhile.
Vellum convertedColors(Vellum image, const QByteArray &source, const QByteArray &destination,
                       const ColorConversion &conversion, const std::function<bool()> &goOn);

} // namespace vellum::tool
