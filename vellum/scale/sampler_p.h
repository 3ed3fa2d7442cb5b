// Picking pixels of one image for another: the loop behind the sampling scaler.
#pragma once

#include <vellum/image/bitorder_p.h>

#include <QRect>
#include <QSize>

class Vellum;

namespace vellum::scale {

struct SamplingJob
{
    QRect window; ///< the part of the source that is scaled; at least one pixel, inside it
    QSize size; ///< what \c window is scaled to
    QRect part; ///< the wanted part of that; at least one pixel, inside it
    QSize reference = {0, 0}; ///< grid that positions snap to first; 0 x 0 for none
    image::BitOrder bitOrder = image::BitOrder::MsbFirst; ///< of one-bit pixels on both sides
};

/// Writes what \a job asks for of \a src to the upper left of \a dst.
///
/// A row of \a dst must have room for one of \c job.part at the depth of \a src; its format is not
/// looked at. Whole bytes of one-bit pixels are written. Rows that \a src does not hold, and
/// pixels beyond the end of its stored rows, are left as they are in \a dst. Reports progress on
/// \a src after every row that it holds.
/// \return false when memory runs out
[[nodiscard]] bool sample(Vellum &dst, const Vellum &src, const SamplingJob &job);

} // namespace vellum::scale
