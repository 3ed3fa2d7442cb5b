// Conversion of a whole image from one ICC profile to another.
#pragma once

#include <vellum/color/renderingintent.h>
#include <vellum/image/vellum.h>

namespace vellum {

/// How convertColors() treats black ink on the way from one CMYK profile to another. Other
/// conversions have no black ink to keep.
enum class BlackPreservation {
    None, ///< black is a colour like others and may come out as four inks
    PureBlack, ///< pixels of black ink alone stay so
    BlackPlane, ///< the amount of black ink of every pixel is kept as far as possible
};

struct ColorConversion
{
    RenderingIntent intent = RenderingIntent::Perceptual;
    /// Maps the darkest colour of the source to that of the destination; without meaning for the
    /// absolute colorimetric intent.
    bool blackPointCompensation = false;
    /// Anything but None needs an intent other than absolute colorimetric.
    BlackPreservation blackPreservation = BlackPreservation::None;
};

/// The picture of \a image, whose pixels are colours of the profile \a source, in colours of the
/// profile \a destination.
///
/// \param image        of a format that CVlLcmsManager::toLcmsFormat() knows; grey when \a source
///                     is a grey profile, RGB when it is an RGB profile, and CMYK (see below)
///                     when it is a CMYK profile. Plain or big, and the result is the same.
/// \param source       bytes of a complete ICC profile. Empty for sRGB, or, when \a image is
///                     grey, for grey with sRGB's tone curve.
/// \param destination  bytes of a complete grey, RGB or CMYK profile; empty for sRGB
/// \return an image with \a image's description and \a destination as its ICC profile. Null when
///         \a image is null or its store incomplete; when a profile is damaged, cut off, of
///         another colour space, or does not fit the format; when lcms2 cannot join the two;
///         when memory runs out; or when the progress callback of \a image cancels.
///
/// \par Formats
/// RGB to RGB keeps the format, with alpha as it is. To grey, the result is Grayscale8, or
/// Grayscale16 when \a image has 16 bits per sample; alpha is dropped. From grey or CMYK to RGB,
/// the result is RGB32, or RGBX64 when \a image has 16 bits per sample. From CMYK, each sample has
/// 8 bits.
///
/// \par CMYK
/// CMYK pixels travel in the bytes of a 32-bit image: C, M, Y, K in this order in memory, 255 for
/// full ink. The result is labelled ARGB32, so that copying, mirroring, rotating by right angles
/// and scaling treat the four channels alike; a source may also be RGB32, RGBX8888 or RGBA8888.
/// Such an image must not be shown or saved as what its label says.
///
/// \par Same profile
/// Nothing is converted when both profiles are the same but for date, flags and identifier; the
/// result then shares \a image's pixels, as a copy does.
///
/// \par Threads and progress
/// Rows are shared out over Qt's global thread pool, as far as it has free threads, and the
/// calling thread takes part; called from a pool worker it therefore cannot block. The progress
/// callback of \a image is called on the calling thread only. \a image must not be written to
/// meanwhile.
VELLUM_EXPORT Vellum convertColors(const Vellum &image, const QByteArray &source,
                                   const QByteArray &destination,
                                   const ColorConversion &conversion = {});

} // namespace vellum
