// What colours the pixels of an image are.
#pragma once

#include <vellum/export.h>

#include <QByteArray>
#include <QImage>

class QColorSpace;
class Vellum;

namespace vellum {

/// True for sRGB, and for its primaries with the gamma of 2.2 that PNG files state in its stead.
VELLUM_EXPORT bool isSrgb(const QColorSpace &space);

/// The ICC profile that tells the colours of the pixels of \a image: its own, else that of its
/// QColorSpace. Empty for sRGB, for grey with sRGB's tone curve, and for a picture from a CMYK
/// file, whose pixels have become sRGB.
VELLUM_EXPORT QByteArray pixelProfile(const Vellum &image);

/// True for Grayscale8 and Grayscale16.
VELLUM_EXPORT bool isGrayFormat(QImage::Format format);

/// True when channels of \a format have more than 8 bits.
VELLUM_EXPORT bool hasWideChannels(QImage::Format format);

/// The one of RGB32, ARGB32, RGBX64 and RGBA64 that holds the colours of \a image.
VELLUM_EXPORT QImage::Format rgbFormatFor(const Vellum &image);

/// A format that convertColors() takes and that loses nothing of \a image, for colours of an RGB
/// profile or, with \a gray, of a grey one, for which the image must have shades of grey only.
VELLUM_EXPORT QImage::Format convertibleFormat(const Vellum &image, bool gray);

} // namespace vellum
