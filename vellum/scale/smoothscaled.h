// Smooth scaling of any image, with progress and cancel.
#pragma once

#include <vellum/export.h>
#include <vellum/image/storage.h>

#include <QRect>
#include <QSize>

class Vellum;

namespace vellum {

/// Returns \a source scaled smoothly (averaged where it shrinks, blended where it grows) to
/// \a size, or the part of that inside \a crop.
///
/// Averages what is seen: translucent pixels count by their alpha, packed channels are unpacked
/// and palettes looked up first, one source row at a time. Formats of 8-bit, 16-bit and grey
/// channels come back as they were. The others come back as
/// - RGB32: opaque formats of less than 8 bits per channel or of 24 bits, opaque palettes
/// - ARGB32: palettes with a translucent colour
/// - ARGB32_Premultiplied: premultiplied formats of less than 8 bits per channel or of 24 bits
/// - RGBX64 or RGBA64_Premultiplied: formats of 10 bits per channel
///
/// ICC profile, CMYK-origin flag, colour space, resolution and texts are \a source's.
///
/// \param source   of any format, plain or big
/// \param size     the whole target in pixels; both sides at least 1
/// \param crop     the wanted part, in target pixels, inside (0, 0, \a size); all of it when it is
///                 QRect()
/// \param storage  where the rows of the result lie
/// \return null when \a source is null, a row of it is missing, a size or rectangle is not as
///         said, the progress callback of \a source answered "stop", or memory runs out (with the
///         warning "QImage: out of memory, returning null" when it was the result)
///
/// Works in bands of result rows, and reports to \a source's progress callback, on the calling
/// thread, after each of them: a few times per second at least, unless single result rows take
/// longer. Memory is the result, tables, and a band where formats are converted. Runs on
/// the global thread pool like qSmoothScaleCropVellum(), and gives the same bytes for formats that
/// need no conversion: those without alpha or with premultiplied alpha in channels of 8 or 16
/// bits, and Grayscale8.
[[nodiscard]] VELLUM_EXPORT Vellum smoothScaled(const Vellum &source, const QSize &size,
                                                const QRect &crop = QRect(),
                                                Storage storage = Storage::Plain);

} // namespace vellum
