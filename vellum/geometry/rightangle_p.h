// Turning by a quarter, for pixels of every depth.
#pragma once

#include <vellum/geometry/transpose_p.h>

#include <functional>

class Vellum;

namespace vellum::geometry {

/// Told that columns \a first to \a last - 1 of the source have become rows; false stops.
using ColumnsDone = std::function<bool(int first, int last)>;

/// Writes every pixel of \a source into \a result, an image of its format with width and height
/// exchanged and complete rows. One-bit results must be filled with 0.
///
/// \param direction  1: column x becomes row w - 1 - x, read downwards (counter-clockwise);
///                   -1: column x becomes row x, read upwards (clockwise)
/// \param order      of one-bit pixels, in both images
/// \return false when \a done stopped the loop or memory ran out
[[nodiscard]] bool turnPixels(Vellum &result, const Vellum &source, int direction, BitOrder order,
                              const ColumnsDone &done);

} // namespace vellum::geometry
