// Memory that reads as zero and costs nothing until somebody writes to it.
#pragma once

#include <cstddef>

namespace vellum::image {

/// Reserves \a bytes of readable, writable memory that is zero.
///
/// Pages are backed one by one when they are first written, where the operating system can do
/// that; the portable form leaves it to \c calloc.
/// \return null when the address space is exhausted or \a bytes is 0
[[nodiscard]] unsigned char *reserveZeroed(std::size_t bytes) noexcept;

/// Gives back what reserveZeroed(\a bytes) returned; null is allowed.
void releaseReserved(unsigned char *memory, std::size_t bytes) noexcept;

} // namespace vellum::image
