// Rows of an image shared out over Qt's thread pool.
#pragma once

#include <vellum/image/vellum.h>

#include <functional>

namespace vellum::color {

/// Converts the rows from \a first to \a last - 1; called on several threads at once.
/// \return false to give up
using RowsOperation = std::function<bool(int first, int last)>;

/// Calls \a operation for all rows of \a image in chunks of \a rowsPerChunk, on the calling
/// thread and on those that the global pool has free. Reports progress on \a image at the start,
/// after each chunk of the calling thread and at the end.
/// \return true when all rows are done; false when \a operation gave up or progress cancelled
[[nodiscard]] bool forRowsInParallel(const Vellum &image, int rowsPerChunk,
                                     const RowsOperation &operation);

} // namespace vellum::color
