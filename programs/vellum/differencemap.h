// Differences of two pictures made visible.
#pragma once

#include "storage.h"
#include <vellum/image/progress.h>
#include <vellum/image/vellum.h>

namespace vellum::tool {

/// A Grayscale8 picture of \a amounts, which differenceOf() has filled: black where nothing
/// differs, else the brighter the more, from a grey that nobody overlooks to white for the largest.
/// \return null when memory runs out or \a report answers false
Vellum visibleMap(const Vellum &amounts, Storage storage, const ProgressGuard::Report &report);

} // namespace vellum::tool
