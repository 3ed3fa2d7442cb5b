// Colour tables that QPainter can draw with.
#pragma once

#include <vellum/image/vellum.h>

#include <QVector>

namespace vellum::image {

/// Gives \a image, an unshared one, a colour for every value that its pixels can have.
///
/// QPainter looks colours up without checking and so reads past a table that is too short, or
/// missing, as it is in one-bit images on memory of the caller's. Missing tables are completed
/// by black and white and by greys, short ones by transparent black.
inline void completeColorTable(Vellum &image)
{
    const bool indexed = image.format() == QImage::Format_Indexed8;
    const int count = indexed ? 256 : image.depth() == 1 ? 2 : 0;
    if (image.colorCount() >= count)
        return;
    QVector<QRgb> colors = image.colorTable();
    const bool missing = colors.isEmpty();
    while (colors.size() < count) {
        const int grey = indexed ? colors.size() : 255 * colors.size();
        colors.append(missing ? qRgb(grey, grey, grey) : 0U);
    }
    image.setColorTable(colors);
}

} // namespace vellum::image
