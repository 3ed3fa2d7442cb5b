// Rectangles of drawing calls as whole pixels.
#pragma once

#include <QPoint>
#include <QRect>
#include <QRectF>

namespace vellum::image {

/// Coordinates that no image has are moved to here; widths still fit an \c int.
constexpr qreal kFar = 1 << 29;

/// QRectF::toRect(), for coordinates of any magnitude.
[[nodiscard]] inline QRect toPixels(const QRectF &rect)
{
    const auto rounded = [](qreal v) { return qRound(v < kFar ? (v > -kFar ? v : -kFar) : kFar); };
    return {QPoint(rounded(rect.x()), rounded(rect.y())),
            QPoint(rounded(rect.x() + rect.width()) - 1, rounded(rect.y() + rect.height()) - 1)};
}

/// The part of an image of \a size that a drawing call means by \a source: all of it for a
/// rectangle of no width and height.
[[nodiscard]] inline QRect sourcePixels(const QRectF &source, const QSize &size)
{
    const QRect whole(QPoint(0, 0), size);
    const QRect part = toPixels(source);
    const bool near = qAbs(source.x()) < kFar && qAbs(source.y()) < kFar;
    return part.isNull() && near ? whole : part & whole;
}

} // namespace vellum::image
