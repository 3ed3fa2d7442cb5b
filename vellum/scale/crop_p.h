// The wanted part of a scaled image, as all scalers clip it.
#pragma once

#include <QRect>
#include <QSize>

namespace vellum::scale {

/// What of \a rect, in target coordinates, lies inside a target of \a size.
///
/// Compares edges only, so that no rectangle is too wide for it.
/// \return the empty QRect() when \a rect or \a size has a side below 1 or they do not meet
[[nodiscard]] inline QRect clipToTarget(const QRect &rect, const QSize &size)
{
    if (rect.right() < rect.left() || rect.bottom() < rect.top() || size.isEmpty())
        return {};
    const QPoint topLeft(qMax(rect.left(), 0), qMax(rect.top(), 0));
    const QPoint bottomRight(qMin(rect.right(), size.width() - 1),
                             qMin(rect.bottom(), size.height() - 1));
    if (bottomRight.x() < topLeft.x() || bottomRight.y() < topLeft.y())
        return {};
    return {topLeft, bottomRight};
}

/// True when \a rect has pixels and all of them lie inside a target of \a size.
[[nodiscard]] inline bool isInTarget(const QRect &rect, const QSize &size)
{
    return !rect.isEmpty() && clipToTarget(rect, size) == rect;
}

} // namespace vellum::scale
