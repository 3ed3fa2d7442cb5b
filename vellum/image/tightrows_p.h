// Rows that are no further apart than QImage would have put them.
#pragma once

#include <QImage>

namespace vellum::image {

/// Bytes from one row to the next in a QImage of its own of that width, in pixels, and depth.
constexpr qint64 tightStride(int width, int depth) { return (qint64(width) * depth + 31) / 32 * 4; }

/// False of images laid over other memory, such as a part of a larger picture.
///
/// Some of QImage's conversions copy all bytes of their source, padding included, into a result of
/// its own: given rows that are further apart, they write past its end.
inline bool hasTightRows(const QImage &image)
{
    return image.bytesPerLine() == tightStride(image.width(), image.depth());
}

} // namespace vellum::image
