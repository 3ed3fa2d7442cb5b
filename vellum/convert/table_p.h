// Which conversion of a big image has a routine.
#pragma once

#include <vellum/convert/routines_p.h>

namespace vellum::convert {

/// The routine that converts by copying; null where there is none, also for values of \a from or
/// \a to that are no format.
[[nodiscard]] Converter copyingConverter(QImage::Format from, QImage::Format to);

/// The routine that converts in place; null as for copyingConverter().
[[nodiscard]] InPlaceConverter inPlaceConverter(QImage::Format from, QImage::Format to);

} // namespace vellum::convert
