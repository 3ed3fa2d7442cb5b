// Format conversion beside the members of Vellum.
#pragma once

#include <vellum/export.h>
#include <vellum/image/storage.h>

#include <QImage>

class Vellum;

/// A copy of \a image converted to \a format by QImage::convertTo() without flags.
///
/// \a image is not changed. Knows plain images only: null for a Vellum that is big.
VELLUM_EXPORT QImage converImageFormat(QImage &image, QImage::Format format);

/// Makes \a image, plain or big, an ARGB32 image if its pixels allow it without arithmetic.
///
/// RGB32 gets alpha 255 in every pixel. With \a premultipliedToo, ARGB32_Premultiplied is
/// relabelled: no byte changes and colours stay premultiplied, which callers rely on. Any other
/// format is left alone.
///
/// The format changes, as by Vellum::setFormat(), for every image that still shares the pixels.
VELLUM_EXPORT void convert32BitsImageToARGB32(Vellum &image, bool premultipliedToo);

/// Makes \a destination an RGB32 image of \a source laid over a background.
///
/// A channel is (source * alpha + background * (255 - alpha)) / 255, truncated; alpha becomes 255.
///
/// \param source      plain ARGB32 image; may be \a destination itself
/// \param background  0xAARRGGBB, alpha is ignored
/// \return false, with \a destination untouched, when \a source is of another format or either is
///         big; false, with \a destination null, when memory runs out
VELLUM_EXPORT bool convertARGB32ToRGB32(QImage &destination, const QImage &source, uint background);

namespace vellum {

/// Returns \a image, plain or big, converted to \a format, for every pair of formats that QImage
/// converts: the bytes that QImage::convertToFormat() has for an equal plain image.
///
/// Unlike Vellum::convertToFormat() it knows every pair for big images too, makes a big result
/// where asked, and does not weigh grey by green. It works through strips of rows, with little
/// memory beside the result. Where QImage dithers, errors run on from strip to strip, and
/// whether the colours fit a palette is decided for the whole image.
///
/// The result carries ICC profile, CMYK-origin flag, text, resolution, device pixel ratio, colour
/// space and both offsets. Attachments and progress callback stay with \a image.
///
/// \param flags    as for QImage::convertToFormat()
/// \param storage  where the result lies. The result is always rows of its own, but for a plain
///                 image that already is plain and of \a format: that one is shared.
/// \return null when \a image is null, \a format is invalid, memory runs out, a row of \a image is
///         missing, or its progress callback answered "stop"
///
/// The progress callback of \a image is polled once per row, on the calling thread, which does all
/// the work but for one case: with Qt::PreferDither QImage may spread wide strips over the global
/// thread pool.
VELLUM_EXPORT Vellum converted(const Vellum &image, QImage::Format format,
                               Qt::ImageConversionFlags flags, Storage storage);

/// \overload The result lies as \a image does.
VELLUM_EXPORT Vellum converted(const Vellum &image, QImage::Format format,
                               Qt::ImageConversionFlags flags = Qt::AutoColor);

} // namespace vellum
