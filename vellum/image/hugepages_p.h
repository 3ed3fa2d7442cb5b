// Fewer page faults for memory that is about to be written from end to end.
#pragma once

#include <cstddef>

namespace vellum::image {

/// Asks the operating system to back \a bytes at \a memory, not yet written, by huge pages.
///
/// The first write to each page of fresh memory costs a trap, which for a large image can be half
/// the time of making it. Only a request: does nothing for small sizes or where there is no such
/// thing. The memory counts as resident as it is written, as ever.
void preferHugePages(void *memory, std::size_t bytes) noexcept;

/// \a bytes of memory to be given back by \c free, as from \c malloc, with the request made.
///
/// It begins where a huge page can begin, because a block of a few of them would otherwise lose
/// one to small pages. What this skips costs no memory, but address space.
/// \return null when either runs out
[[nodiscard]] void *allocateInHugePages(std::size_t bytes) noexcept;

} // namespace vellum::image
