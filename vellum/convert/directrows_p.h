// Conversions so light that moving the bytes is all there is to them.
#pragma once

#include <QImage>

namespace vellum::convert {

/// Converts \a width pixels; \a out may be \a in where both have the same size of pixel.
using RowFunction = void (*)(uchar *out, const uchar *in, int width);

/// The function for a row, where the pair has one; null otherwise. The results are QImage's.
[[nodiscard]] RowFunction directRow(QImage::Format from, QImage::Format to);

/// Sets the alpha of pixels 0xAARRGGBB to 255.
void maskAlphaRow(uchar *out, const uchar *in, int width);

/// Sets the alpha of pixels of bytes R, G, B, A to 255.
void maskAlphaOfRgbaRow(uchar *out, const uchar *in, int width);

/// Between pixels of bytes R, G, B, A and 0xAARRGGBB.
void swapRedBlueRow(uchar *out, const uchar *in, int width);

/// The same from pixels of bytes R, G, B, A, with alpha 255.
void swapRedBlueAndMaskRow(uchar *out, const uchar *in, int width);

} // namespace vellum::convert
