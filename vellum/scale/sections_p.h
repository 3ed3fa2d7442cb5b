// Spreads the result rows of a scaling over the threads of the global pool.
#pragma once

#include <functional>

namespace vellum::scale {

/// Scales the result rows \a yStart to \a yEnd - 1.
using Section = std::function<void(int yStart, int yEnd)>;

/// Calls \a section for consecutive parts of the rows \a ry to \a ry + \a rh - 1, on the global
/// thread pool when that pays, and returns when all are done.
///
/// A part covers at least 65,536 units of source width times result rows, so small scalings stay
/// on the calling thread. So do calls from a worker of the pool: waiting there for the pool could
/// wait for ever.
///
/// \param sw       width of the source in pixels
/// \param section  called from several threads at once
void runScaleSections(int sw, int ry, int rh, const Section &section);

} // namespace vellum::scale
