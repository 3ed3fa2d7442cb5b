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

/// Asks for large pages under \a bytes of memory that is about to be written as a whole.
///
/// A fresh image costs a page fault per 4 KiB otherwise, which takes longer than many an operation
/// needs to compute its bytes. Does nothing where the operating system offers no choice.
void preferLargePages(unsigned char *memory, std::size_t bytes) noexcept;

} // namespace vellum::image
